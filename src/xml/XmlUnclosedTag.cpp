#include "xml/XmlUnclosedTag.h"

#include <algorithm>

namespace fieldpost {

bool MayExceedAttributes(std::string_view text, std::size_t most) {
  std::size_t equalsSigns = 0;
  return std::any_of(text.begin(), text.end(), [&](char c) {
    if (c == '<') equalsSigns = 0;
    return c == '=' && ++equalsSigns > most;
  });
}

void XmlUnclosedTag::Read(std::uint64_t at, std::string_view text) {
  if (bytes_ == 0 || at_ != at) {
    *this = {};
    at_ = at;
  }
  for (const char c : text.substr(bytes_)) {
    if (quote_ != 0) {
      if (c == quote_) quote_ = 0;
    } else if (c == '"' || c == '\'') {
      quote_ = c;
    } else if (c == '=') {
      ++attributes_;
    }
  }
  bytes_ = text.size();
}

}  // namespace fieldpost
