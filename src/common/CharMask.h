// Numbers laid into a pattern of places, "@@@@@@@@.@@@".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace fieldpost {

/// Lays the decimal digits of a number into a pattern from the right, one digit per "@"; any other character
/// of the pattern stays where it stands. A place without a digit becomes a blank; digits beyond the pattern's
/// width are put in front.
std::string FormatCharMask(std::uint64_t number, std::string_view pattern);

}  // namespace fieldpost
