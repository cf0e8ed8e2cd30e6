// A mail server that a test starts for itself, on a free port of the loopback interface.
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/StartedProgram.h"
#include "support/TempFolder.h"

namespace fieldpost::test {

/// Runs tests/tools/smtp_server.py until the object is destroyed.
class SmtpServer {
 public:
  /// Starts the server. `arguments` are passed to the script, in addition to its folder.
  explicit SmtpServer(const std::vector<std::string>& arguments = {})
      : script_(Words(folder_.Path(), arguments), {}, StartedProgram::Errors::Shown) {
    const std::string port = script_.ReadLine();
    if (port.empty()) throw std::runtime_error("the mail server did not start");
    port_ = std::stoi(port);
  }
  SmtpServer(const SmtpServer&) = delete;
  SmtpServer& operator=(const SmtpServer&) = delete;
  ~SmtpServer() { script_.Finish(); }

  [[nodiscard]] std::int32_t Port() const { return port_; }

  /// Returns the mails that the server has accepted, in order.
  [[nodiscard]] std::vector<std::string> Mails() const {
    std::vector<std::string> mails;
    for (const std::string& name : Names(folder_.Path())) {
      if (name.ends_with(".eml")) mails.push_back(ReadFile(folder_.Path() / name));
    }
    return mails;
  }

  /// Returns what was said on all connections, one line for each event.
  [[nodiscard]] std::string Transcript() const { return ReadFile(folder_.Path() / "transcript.txt"); }

  /// Returns how often `text` occurs in the transcript.
  [[nodiscard]] std::size_t Count(const std::string& text) const {
    const std::string transcript = Transcript();
    std::size_t count = 0;
    for (std::size_t at = transcript.find(text); at != std::string::npos; at = transcript.find(text, at + 1))
      ++count;
    return count;
  }

 private:
  static std::vector<std::string> Words(const std::filesystem::path& folder,
                                        const std::vector<std::string>& arguments) {
    std::vector<std::string> words{"/usr/bin/python3", FIELDPOST_TESTS "/tools/smtp_server.py", "--folder",
                                   folder.native()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
  }

  TempFolder folder_;
  StartedProgram script_;
  std::int32_t port_ = 0;
};

}  // namespace fieldpost::test
