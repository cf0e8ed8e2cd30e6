// The text in elements, on its way into the labels of a tree.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "viewer/XmlTree.h"

namespace fieldpost {

/// Puts the texts of the element that is open into its label, each with ":  " before it, without the white
/// space at both of its ends. Text is passed on as it comes; a long one is never gathered.
class XmlText {
 public:
  enum class Kind { Plain, Cdata };

  explicit XmlText(XmlTree& tree) : tree_(tree) {}

  /// An element begins; `space` is the value of its attribute xml:space, empty when it has none.
  void Enter(std::string_view space);

  /// The element that began last ends.
  void Leave();

  /// The next part of a text. A part of another kind ends the text and begins the next.
  void Add(std::string_view part, Kind kind);

  /// Something came that is no text.
  void EndText();

 private:
  void Put(std::string_view part);

  XmlTree& tree_;
  std::vector<bool> preserve_;  // of each open element: its white space counts
  Kind kind_ = Kind::Plain;
  bool begun_ = false;  // the label has the text's beginning
  std::string held_;    // white space that is part of the text only if more follows
};

}  // namespace fieldpost
