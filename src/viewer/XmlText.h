// Appends the texts of elements to the labels of a tree.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "viewer/XmlTree.h"

namespace fieldpost {

/// Appends each text of the innermost open element to its label, after ":  ", without white space at both
/// ends. Parts of a text are appended as they come, so that a long text takes no memory here.
class XmlText {
 public:
  enum class Kind { Plain, Cdata };

  explicit XmlText(XmlTree& tree) : tree_(tree) {}

  /// Opens an element. `space` is the value of its attribute xml:space, empty without one.
  void Enter(std::string_view space);

  /// Closes the innermost open element.
  void Leave();

  /// Appends the next part of a text. A part of another kind ends the text and starts another.
  void Add(std::string_view part, Kind kind);

  /// Ends the text, before an element, a comment or a processing instruction.
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
