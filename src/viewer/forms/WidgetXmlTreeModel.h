// The item model of the XML viewer.
#pragma once

#include <QAbstractListModel>
#include <functional>
#include <vector>

#include "viewer/XmlTree.h"

namespace fieldpost {

/// The visible nodes of an XML tree as the rows of a list. A tree model is not used, because tree views
/// recurse, and a deep document would overflow the stack. At first all nodes are expanded; then rows and
/// nodes have the same numbers.
class WidgetXmlTreeModel final : public QAbstractListModel {
  Q_OBJECT

 public:
  /// Bytes of a label that are shown at most. Copying copies the whole label.
  static constexpr std::size_t MaxShownBytes = 1000;

  /// `tree` outlives the model. ShowNewNodes is to be called after nodes were added to it.
  WidgetXmlTreeModel(const XmlTree& tree, QObject* parent) : QAbstractListModel(parent), tree_(tree) {}

  /// Shows the nodes that were added to the tree.
  void ShowNewNodes();

  /// Removes all rows; to be called before the tree is cleared.
  void ShowNothing();

  /// The number of nodes that the model knows, including those below collapsed nodes.
  [[nodiscard]] XmlTree::Node ShownNodes() const { return shown_; }

  [[nodiscard]] const XmlTree& Tree() const { return tree_; }
  [[nodiscard]] XmlTree::Node NodeAt(int row) const;

  /// The row of a node; of a hidden node, the row of its collapsed ancestor.
  [[nodiscard]] int RowOf(XmlTree::Node node) const;

  [[nodiscard]] bool IsExpanded(XmlTree::Node node) const;
  void SetExpanded(XmlTree::Node node, bool expanded);

  /// Expands a node and all nodes below it.
  void ExpandBelow(XmlTree::Node node);

  /// Expands the collapsed ancestors of a node.
  void Reveal(XmlTree::Node node);

  void ExpandAll();
  void CollapseAll();

  /// Returns a label as it is shown: line breaks and tabs are blanks, other control characters have their
  /// Unicode pictures, and a long label ends in an ellipsis.
  [[nodiscard]] QString ShownLabel(XmlTree::Node node) const;

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

 private:
  void Change(const std::function<void()>& change);
  void FindVisible();
  [[nodiscard]] QString Position(XmlTree::Node node) const;

  const XmlTree& tree_;
  XmlTree::Node shown_ = 0;             // the number of nodes that the model knows
  bool allExpanded_ = true;             // then rows and nodes are the same, and the members below are empty
  std::vector<bool> collapsed_;         // by node
  std::vector<XmlTree::Node> visible_;  // by row
};

}  // namespace fieldpost
