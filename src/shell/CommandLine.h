// The command line as one text.
#pragma once

#include <span>
#include <string>

namespace fieldpost {

/// The arguments behind the program's name, joined by one blank each, so that a line of two words is the same
/// line whether it comes as one argument or as two.
std::string JoinArguments(std::span<const char* const> arguments);

}  // namespace fieldpost
