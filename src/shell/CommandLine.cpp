#include "shell/CommandLine.h"

namespace fieldpost {

std::string JoinArguments(std::span<const char* const> arguments) {
  std::string line;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    if (i > 1) line += ' ';
    line += arguments[i];
  }
  return line;
}

}  // namespace fieldpost
