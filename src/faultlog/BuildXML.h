// Builds the text of a combined document.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "faultlog/FaultloggerFile.h"

namespace fieldpost {

/// Accumulates, in UTF-8, an opening wrapper tag, one `FLFILE` element a line, and the closing tag.
class BuildXML {
 public:
  /// Discards the text and begins a new one with the opening tag of `name`. An empty name changes nothing.
  void OpenXML(std::string_view name);

  /// Returns the text followed by the closing tag of `name`, and leaves the builder as it is. Returns an
  /// empty string for an empty name.
  [[nodiscard]] std::string CloseXML(std::string_view name) const&;

  /// Returns the text followed by the closing tag of `name`, moved out of a builder that is not used again.
  /// Returns an empty string for an empty name.
  [[nodiscard]] std::string CloseXML(std::string_view name) &&;

  /// Appends CR LF and the first `FLFILE` of `file`. Does nothing without an opening tag, or when the file is
  /// not complete. The element is serialised from a loaded document, so it is known to load on its own.
  void InsertXML(FaultloggerFile& file);

  /// The length of the text in characters, wrapper tag and line breaks included.
  [[nodiscard]] std::size_t GetXMLLength() const { return characters_; }

  /// How many elements were inserted since OpenXML.
  [[nodiscard]] std::size_t ElementCount() const { return elements_; }

 private:
  std::string XmlText_;
  std::size_t characters_ = 0;  // counted as the text grows
  std::size_t elements_ = 0;
};

}  // namespace fieldpost
