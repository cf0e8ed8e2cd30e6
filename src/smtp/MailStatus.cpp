#include "smtp/MailStatus.h"

#include <fmt/format.h>

#include <array>

#include "common/Text.h"
#include "common/Utf8.h"
#include "smtp/Base64.h"

namespace fieldpost {
namespace {

std::string OneLine(std::string_view text) {
  return EscapeControls(WellFormedUtf8(text));
}

/// `text` may have been made printable already, so the printable form of the password is replaced too.
std::string WithoutPassword(std::string_view text, const MailServer& server) {
  std::string result(text);
  if (server.password.empty()) return result;
  using namespace std::string_literals;
  const std::array secrets{Base64("\0"s + server.userName + "\0"s + server.password), Base64(server.password),
                           server.password, OneLine(server.password)};
  for (const std::string& secret : secrets) result = Replaced(result, secret, "***");
  return result;
}

/// ModWriteLogFile logs "Mail Sent" for a line with "error: 0", so a failure must not contain it.
std::string WithoutSuccess(std::string text) {
  constexpr std::string_view success = "error: 0";
  const std::string lower = ToLowerAscii(text);
  for (std::size_t at = lower.rfind(success); at != std::string::npos && at > 0;
       at = lower.rfind(success, at - 1)) {
    text.erase(at + success.find(' '), 1);
  }
  if (lower.starts_with(success)) text.erase(success.find(' '), 1);
  return text;
}

}  // namespace

std::string MailStatusText(const MailServer& server, const Mail& mail, int number,
                           std::string_view description) {
  const std::string what =
      fmt::format("\"{}\" with {} attachment{} to {} by {}:{}", mail.subject, mail.attachments.size(),
                  mail.attachments.size() == 1 ? "" : "s", mail.recipient, server.server, server.port);
  const std::string how = OneLine(WithoutPassword(description, server));
  std::string text = fmt::format("{}\r\nError: {} {}", OneLine(what), number, how);
  return number == 0 ? text : WithoutSuccess(std::move(text));
}

}  // namespace fieldpost
