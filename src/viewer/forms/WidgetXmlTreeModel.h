// The rows of an XML tree that its view shows: every node but those below a collapsed one.
#pragma once

#include <QAbstractListModel>
#include <functional>
#include <vector>

#include "viewer/XmlTree.h"

namespace fieldpost {

/// A list, not a tree: a tree view works its way down by recursion, which a deep document would break. All
/// nodes are expanded to begin with; as long as they are, rows and nodes have the same numbers.
class WidgetXmlTreeModel final : public QAbstractListModel {
  Q_OBJECT

 public:
  /// Longest part of a label that is shown, in bytes. Copying gives all of it.
  static constexpr std::size_t MaxShownBytes = 1000;

  /// `tree` outlives the model and is told of by ShowNewNodes and ShowNothing.
  WidgetXmlTreeModel(const XmlTree& tree, QObject* parent) : QAbstractListModel(parent), tree_(tree) {}

  /// The tree has grown.
  void ShowNewNodes();

  /// The tree was emptied.
  void ShowNothing();

  /// How many nodes of the tree the rows are of, those below collapsed ones included.
  [[nodiscard]] XmlTree::Node ShownNodes() const { return shown_; }

  [[nodiscard]] const XmlTree& Tree() const { return tree_; }
  [[nodiscard]] XmlTree::Node NodeAt(int row) const;

  /// The row of a node; of one that is hidden, that of the ancestor which hides it.
  [[nodiscard]] int RowOf(XmlTree::Node node) const;

  [[nodiscard]] bool IsExpanded(XmlTree::Node node) const;
  void SetExpanded(XmlTree::Node node, bool expanded);

  /// Expands a node and all below it.
  void ExpandBelow(XmlTree::Node node);

  /// Expands what hides a node.
  void Reveal(XmlTree::Node node);

  void ExpandAll();
  void CollapseAll();

  /// A label as it is shown: what would break the line is a blank, other control characters have pictures,
  /// and a long one ends in an ellipsis.
  [[nodiscard]] QString ShownLabel(XmlTree::Node node) const;

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

 private:
  void Change(const std::function<void()>& change);
  void FindVisible();
  [[nodiscard]] QString Position(XmlTree::Node node) const;

  const XmlTree& tree_;
  XmlTree::Node shown_ = 0;             // how many nodes of the tree the rows are of
  bool allExpanded_ = true;             // then the rows are the nodes, and what follows is empty
  std::vector<bool> collapsed_;         // by node
  std::vector<XmlTree::Node> visible_;  // by row
};

}  // namespace fieldpost
