// Joins the command line into one text.
#pragma once

#include <span>
#include <string>

namespace fieldpost {

/// Returns the arguments after the program's name, separated by one blank each, so that it makes no
/// difference whether two words are one argument or two.
[[nodiscard]] std::string JoinArguments(std::span<const char* const> arguments);

}  // namespace fieldpost
