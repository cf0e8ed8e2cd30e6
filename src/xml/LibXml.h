// libxml2's texts as views.
#pragma once

#include <libxml/xmlstring.h>

#include <cstddef>
#include <string_view>

namespace fieldpost {

/// Returns libxml2's text as UTF-8, empty for a null pointer. The view lives as long as libxml2's text does.
inline std::string_view FromXml(const xmlChar* text) {
  return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

/// Returns `length` bytes of libxml2's text as UTF-8. The view lives as long as the text does.
inline std::string_view FromXml(const xmlChar* text, std::ptrdiff_t length) {
  return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)};
}

}  // namespace fieldpost
