// Looks for a text in the labels of an XML tree, a slice at a time.
#pragma once

#include <QString>
#include <QStringMatcher>

#include "viewer/SearchDirection.h"
#include "viewer/XmlTree.h"

namespace fieldpost {

/// One search, once round the tree. Upper and lower case letters are the same.
class WidgetXmlTreeSearch {
 public:
  enum class State { Searching, Found, NotFound };

  /// Begins at `from`, and goes on at the other end when it comes to one. The tree outlives the search, and
  /// may grow meanwhile; what is added is not looked at.
  WidgetXmlTreeSearch(const XmlTree& tree, const QString& text, XmlTree::Node from, SearchDirection direction)
      : tree_(tree),
        matcher_(text, Qt::CaseInsensitive),
        direction_(direction),
        node_(from),
        size_(tree.Size()),
        left_(tree.Size()) {}

  /// Leaves `from` to the end: the next match is wanted, not the one at hand.
  void SkipFirst() { Step(); }

  /// Looks at labels, long ones in parts, for some milliseconds.
  State SearchFor(int milliseconds);

  /// The node that was found.
  [[nodiscard]] XmlTree::Node Node() const { return node_; }

  /// Whether the search went on at the other end.
  [[nodiscard]] bool WentRound() const { return wentRound_; }

 private:
  bool MatchesPart();
  void Step();

  const XmlTree& tree_;
  QStringMatcher matcher_;
  SearchDirection direction_;
  XmlTree::Node node_;
  XmlTree::Node size_;
  XmlTree::Node left_;      // how many are still to be looked at
  std::size_t partAt_ = 0;  // what comes before this in the node's label was looked at
  bool wentRound_ = false;
};

}  // namespace fieldpost
