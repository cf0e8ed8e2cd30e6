// A program that runs in the background of a test and is ended with it.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace fieldpost::test {

/// Runs a program without a shell. The test reads its standard output and may end it.
class StartedProgram {
 public:
  enum class Errors { Hidden, Shown };

  /// `words` are the program's name, which is searched for in PATH, and its arguments; `variables` are added
  /// to its environment; `errors` says whether its standard error is shown.
  explicit StartedProgram(std::vector<std::string> words,
                          std::vector<std::pair<std::string, std::string>> variables = {},
                          Errors errors = Errors::Hidden) {
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    if (::pipe2(input.data(), O_CLOEXEC) != 0 || ::pipe2(output.data(), O_CLOEXEC) != 0) std::abort();
    process_ = ::fork();
    if (process_ == 0) {
      ::dup2(input[0], STDIN_FILENO);
      ::dup2(output[1], STDOUT_FILENO);
      Become(words, variables, errors);
    }
    ::close(input[0]);
    ::close(output[1]);
    input_ = input[1];
    output_ = output[0];
    EXPECT_GT(process_, 0) << words.front();
  }
  StartedProgram(const StartedProgram&) = delete;
  StartedProgram& operator=(const StartedProgram&) = delete;
  ~StartedProgram() { End(); }

  [[nodiscard]] pid_t Process() const { return process_; }

  /// Waits for the next line of its standard output. Returns it without its end; empty when the program has
  /// ended.
  std::string ReadLine() {
    std::string line;
    char c = 0;
    while (::read(output_, &c, 1) == 1 && c != '\n') line += c;
    return line;
  }

  /// Writes to its standard input.
  void Write(const std::string& text) {
    EXPECT_EQ(::write(input_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  /// Terminates the program and waits until it has ended.
  void End() {
    if (process_ > 0) ::kill(process_, SIGTERM);
    Finish();
  }

  /// Closes its standard input and waits until the program has ended.
  void Finish() {
    if (process_ <= 0) return;
    ::close(input_);
    ::waitpid(process_, nullptr, 0);
    ::close(output_);
    process_ = 0;
  }

 private:
  /// Replaces the child process by the program, which is killed when the test process ends.
  [[noreturn]] static void Become(std::vector<std::string>& words,
                                  const std::vector<std::pair<std::string, std::string>>& variables,
                                  Errors errors) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (errors == Errors::Hidden) ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
    for (const auto& [name, value] : variables) ::setenv(name.c_str(), value.c_str(), 1);
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    ::execvp(arguments.front(), arguments.data());
    ::_exit(127);
  }

  pid_t process_ = 0;
  int input_ = -1;
  int output_ = -1;
};

}  // namespace fieldpost::test
