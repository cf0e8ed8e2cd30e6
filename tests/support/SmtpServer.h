// A mail server of a test's own, on a free port of the loopback interface.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/TempFolder.h"

namespace fieldpost::test {

/// tests/tools/smtp_server.py, from construction to destruction.
class SmtpServer {
 public:
  /// `arguments` are the script's own, folder and port excepted.
  explicit SmtpServer(const std::vector<std::string>& arguments = {}) {
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    if (::pipe2(input.data(), O_CLOEXEC) != 0 || ::pipe2(output.data(), O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe for the mail server");
    }
    std::vector<std::string> words{"/usr/bin/python3", FIELDPOST_TESTS "/tools/smtp_server.py", "--folder",
                                   folder_.Path().native()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    process_ = ::fork();
    if (process_ == 0) {
      ::dup2(input[0], STDIN_FILENO);
      ::dup2(output[1], STDOUT_FILENO);
      ::execv(argv.front(), argv.data());
      ::_exit(127);
    }
    ::close(input[0]);
    ::close(output[1]);
    input_ = input[1];
    port_ = ReadPort(output[0]);
    ::close(output[0]);
  }
  SmtpServer(const SmtpServer&) = delete;
  SmtpServer& operator=(const SmtpServer&) = delete;
  ~SmtpServer() {
    ::close(input_);
    ::waitpid(process_, nullptr, 0);
  }

  [[nodiscard]] std::int32_t Port() const { return port_; }

  /// The mails that it accepted, in order.
  [[nodiscard]] std::vector<std::string> Mails() const {
    std::vector<std::string> mails;
    for (const std::string& name : Names(folder_.Path())) {
      if (name.ends_with(".eml")) mails.push_back(ReadFile(folder_.Path() / name));
    }
    return mails;
  }

  [[nodiscard]] std::string Transcript() const { return ReadFile(folder_.Path() / "transcript.txt"); }

  /// How often the transcript holds `text`.
  [[nodiscard]] std::size_t Count(const std::string& text) const {
    const std::string transcript = Transcript();
    std::size_t count = 0;
    for (std::size_t at = transcript.find(text); at != std::string::npos; at = transcript.find(text, at + 1))
      ++count;
    return count;
  }

 private:
  static std::int32_t ReadPort(int descriptor) {
    std::string line;
    char c = 0;
    while (::read(descriptor, &c, 1) == 1 && c != '\n') line += c;
    if (line.empty()) throw std::runtime_error("the mail server did not start");
    return std::stoi(line);
  }

  TempFolder folder_;
  pid_t process_ = -1;
  int input_ = -1;
  std::int32_t port_ = 0;
};

}  // namespace fieldpost::test
