// Encodings that an XML document can be written in.
#pragma once

#include <string>

namespace fieldpost {

/// Whether a document written in this encoding means what it did. Its markup must stay what it is: that is so
/// in UTF-16, and where every ASCII character is itself; it is not in UTF-7, where "<" is a word of five
/// letters, nor in an encoding that is not known at all. And a character that the encoding lacks must become
/// a reference to that character; in some that the XML library knows from elsewhere it becomes one to its
/// neighbour.
bool CanHoldAnyText(const std::string& encoding);

/// Whether each text is written in the same bytes, whatever was written before it. It is not in UTF-7 and the
/// encodings of ISO 2022, where a text may end in the middle of a word or in another alphabet than it began
/// in. False, too, for an encoding that is not known.
bool CanBeWrittenInPieces(const std::string& encoding);

}  // namespace fieldpost
