// The attribute `Mode` of the root element, which tells whether a document was mailed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace fieldpost {

inline constexpr std::string_view ModeAttribute = "Mode";
inline constexpr std::string_view NotSentMode = "Not Sent";
inline constexpr std::string_view SentMode = "Sent";

/// Returns `<NAME Mode="Not Sent"`: the start tag of a document that waits to be mailed, up to its first
/// attribute.
[[nodiscard]] std::string UnsentStartTag(std::string_view rootName);

/// Whether the root element has the `Mode` "Sent". `beginning` must contain the start tag of the root
/// element.
[[nodiscard]] bool SaysSent(std::string_view beginning);

/// Whether a text contains "Not Sent", in any letter case.
[[nodiscard]] bool SaysNotSent(std::string_view text);

/// Returns the document with the `Mode` "Sent", or nothing when it is not well-formed.
[[nodiscard]] std::optional<std::string> MarkedAsSent(std::string_view document);

}  // namespace fieldpost
