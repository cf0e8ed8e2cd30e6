// The output of a command.
#pragma once

#include <array>
#include <cstdio>
#include <memory>
#include <string>

namespace fieldpost::test {

struct CommandResult {
  int status = -1;     ///< 0 for success
  std::string output;  ///< standard output and standard error
};

/// Runs a shell command and waits until it ends.
inline CommandResult RunCommand(const std::string& command) {
  CommandResult result;
  std::FILE* const stream = ::popen((command + " 2>&1").c_str(), "r");
  if (stream == nullptr) return result;
  std::array<char, 4096> buffer{};
  while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), stream)) {
    result.output.append(buffer.data(), got);
  }
  result.status = ::pclose(stream);
  return result;
}

}  // namespace fieldpost::test
