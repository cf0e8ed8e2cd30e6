// Encodings that an XML document can be written in.
#pragma once

#include <string>

namespace fieldpost {

/// Whether a document written in this encoding means what it did: its markup must stay what it is. That is so
/// in UTF-16, and where every ASCII character is itself; it is not in UTF-7, where "<" is a word of five
/// letters, nor in an encoding that is not known at all.
bool CanHoldMarkup(const std::string& encoding);

}  // namespace fieldpost
