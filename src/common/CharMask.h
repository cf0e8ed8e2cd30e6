// Numbers formatted by a pattern such as "@@@@@@@@.@@@".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace fieldpost {

/// Fills a pattern with the decimal digits of a number, from the right, one digit for each "@". Other
/// characters of the pattern stay. An "@" without a digit becomes a blank; digits for which there is no "@"
/// are put in front.
std::string FormatCharMask(std::uint64_t number, std::string_view pattern);

}  // namespace fieldpost
