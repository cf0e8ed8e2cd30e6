#include "xml/XmlUnclosedTag.h"

namespace fieldpost {

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
