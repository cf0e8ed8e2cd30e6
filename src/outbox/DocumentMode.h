// Whether a document has been mailed: the attribute `Mode` of its root, written and read here alone.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace fieldpost {

inline constexpr std::string_view ModeAttribute = "Mode";
inline constexpr std::string_view NotSentMode = "Not Sent";
inline constexpr std::string_view SentMode = "Sent";

/// The start tag's beginning of a document that waits to be mailed: `<NAME Mode="Not Sent"`, without the end
/// of the tag.
std::string UnsentStartTag(std::string_view rootName);

/// Whether the root of a document says that it was mailed. `beginning` need only reach beyond its start tag.
bool SaysSent(std::string_view beginning);

/// Whether a document's text says anywhere that it was not sent, in whatever letter case.
bool SaysNotSent(std::string_view text);

/// The document with `Mode` set to "Sent". Nothing when it is not well-formed.
std::optional<std::string> MarkedAsSent(std::string_view document);

}  // namespace fieldpost
