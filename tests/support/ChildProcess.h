// A shell command that runs in the background of a test.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>
#include <utility>

namespace fieldpost::test {

/// Runs a shell command in the background. The test reads its standard output.
class ChildProcess {
 public:
  explicit ChildProcess(const std::string& command) : stream_(::popen(command.c_str(), "r")) {
    EXPECT_NE(stream_, nullptr) << command;
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess(ChildProcess&& other) noexcept : stream_(std::exchange(other.stream_, nullptr)) {}
  ChildProcess& operator=(const ChildProcess&) = delete;
  ChildProcess& operator=(ChildProcess&&) = delete;
  ~ChildProcess() {
    if (stream_ != nullptr) ::pclose(stream_);
  }

  /// Waits until the command ends. Returns what it wrote.
  std::string Output() {
    std::string text;
    std::array<char, 4096> buffer{};
    while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), stream_)) {
      text.append(buffer.data(), got);
    }
    return text;
  }

  /// Waits until the command ends. Returns its exit status.
  int ExitStatus() {
    Output();
    const int status = ::pclose(std::exchange(stream_, nullptr));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  std::FILE* stream_;
};

/// Returns a word quoted for the shell.
inline std::string Quoted(const std::string& word) {
  std::string result = "'";
  for (const char c : word) result += c == '\'' ? std::string(R"('\'')") : std::string(1, c);
  return result + "'";
}

}  // namespace fieldpost::test
