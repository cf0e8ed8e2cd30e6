// The search of the XML viewer.
#pragma once

#include <QString>
#include <QStringMatcher>

#include "viewer/SearchDirection.h"
#include "viewer/XmlTree.h"

namespace fieldpost {

/// Searches the labels of a tree once around for a text, without regard to case, in slices.
class WidgetXmlTreeSearch {
 public:
  enum class State { Searching, Found, NotFound };

  /// Starts at the node `from`, and continues at the other end of the tree after the last or first node. The
  /// tree outlives the search, and may grow meanwhile; new nodes are not searched.
  WidgetXmlTreeSearch(const XmlTree& tree, const QString& text, XmlTree::Node from, SearchDirection direction)
      : tree_(tree),
        matcher_(text, Qt::CaseInsensitive),
        direction_(direction),
        node_(from),
        size_(tree.Size()),
        left_(tree.Size()) {}

  /// Searches `from` last, to find the next match instead of the current one.
  void SkipFirst() { Step(); }

  /// Searches for some milliseconds; a long label is searched in parts.
  State SearchFor(int milliseconds);

  /// The node of the match, once found.
  [[nodiscard]] XmlTree::Node Node() const { return node_; }

  /// Whether the search has continued at the other end.
  [[nodiscard]] bool HasWrapped() const { return hasWrapped_; }

 private:
  bool MatchesPart();
  void Step();

  const XmlTree& tree_;
  QStringMatcher matcher_;
  SearchDirection direction_;
  XmlTree::Node node_;
  XmlTree::Node size_;
  XmlTree::Node left_;      // the number of nodes that are still to be searched
  std::size_t partAt_ = 0;  // the part of the node's label before this offset was searched
  bool hasWrapped_ = false;
};

}  // namespace fieldpost
