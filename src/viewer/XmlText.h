// Puts the texts of elements into the labels of a tree.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "viewer/XmlTree.h"

namespace fieldpost {

/// Appends the texts of the open element to its label, each after ":  " and without white space at both ends.
/// A text is appended part by part, so that a long one takes no memory of its own.
class XmlText {
 public:
  enum class Kind { Plain, Cdata };

  explicit XmlText(XmlTree& tree) : tree_(tree) {}

  /// Opens an element; `space` is the value of its attribute xml:space, empty when it has none.
  void Enter(std::string_view space);

  /// Closes the innermost open element.
  void Leave();

  /// Adds the next part of a text. A part of another kind ends the text and begins the next.
  void Add(std::string_view part, Kind kind);

  /// Ends the text, if one is begun: something else follows.
  void EndText();

 private:
  void Put(std::string_view part);

  XmlTree& tree_;
  std::vector<bool> preserve_;  // for each open element: white space is preserved
  Kind kind_ = Kind::Plain;
  bool begun_ = false;  // the start of the text is in the label
  std::string held_;    // white space that is part of the text only if more follows
};

}  // namespace fieldpost
