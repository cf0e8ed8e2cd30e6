// Builds the text of a combined document.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "faultlog/FaultloggerFile.h"

namespace fieldpost {

/// An opening wrapper tag, then one `FLFILE` a line, then the closing tag. UTF-8.
class BuildXML {
 public:
  /// Begins anew with the opening tag of that name; an empty name changes nothing.
  void OpenXML(std::string_view name);

  /// The text with the closing tag of that name behind it; the builder itself stays open. Empty for an empty
  /// name.
  [[nodiscard]] std::string CloseXML(std::string_view name) const&;

  /// The same of a builder that is done with: its text is handed over instead of being copied.
  [[nodiscard]] std::string CloseXML(std::string_view name) &&;

  /// Appends CR LF and the first `FLFILE` of a file, which must be complete. Without an opening tag nothing
  /// happens. What is appended can be read on its own: it comes from a tree, not from a text.
  void InsertXML(FaultloggerFile& file);

  /// The length of the text in characters, wrapper tag and line breaks included.
  [[nodiscard]] std::size_t GetXMLLength() const { return characters_; }

  /// How many elements were inserted.
  [[nodiscard]] std::size_t ElementCount() const { return elements_; }

 private:
  std::string XmlText_;
  std::size_t characters_ = 0;  // counted as the text grows
  std::size_t elements_ = 0;
};

}  // namespace fieldpost
