#include "smtp/SmtpMail.h"

#include <fmt/format.h>

#include <exception>
#include <string_view>
#include <utility>
#include <vector>

#include "smtp/MailCheck.h"
#include "smtp/MailStatus.h"

namespace fieldpost {
namespace {

constexpr std::size_t SendBufferSize = 512 * 1024;

/// Sends `command` and awaits a reply whose code begins with the digit `wanted`. After any other reply it
/// sends QUIT and throws.
void Command(SmtpConnection& connection, std::string_view command, int wanted) {
  connection.Send(fmt::format("{}\r\n", command));
  const SmtpReply reply = connection.AwaitReply();
  if (reply.code / 100 == wanted) return;
  connection.Quit();
  throw SmtpError(CURLE_SEND_ERROR, reply.text);
}

/// Returns the position of the first dot at or after `from` that begins a line; the size of `bytes` when
/// there is none.
std::size_t FindLeadingDot(std::string_view bytes, std::size_t from, bool atLineStart) {
  for (std::size_t at = bytes.find('.', from); at != std::string_view::npos; at = bytes.find('.', at + 1)) {
    if (at == 0 ? atLineStart : bytes[at - 1] == '\n') return at;
  }
  return bytes.size();
}

/// Returns `bytes` with each dot at the beginning of a line doubled (RFC 5321, section 4.5.2).
std::string WithDotsDoubled(std::string_view bytes, bool atLineStart) {
  std::string result;
  std::size_t from = 0;
  for (std::size_t dot = FindLeadingDot(bytes, 0, atLineStart); dot < bytes.size();
       dot = FindLeadingDot(bytes, dot + 1, atLineStart)) {
    result.append(bytes.substr(from, dot - from)).append(".");
    from = dot;
  }
  return result.append(bytes.substr(from));
}

/// Base64 contains no dots, so nearly nothing of a large mail needs to be copied.
void SendPiece(SmtpConnection& connection, std::string_view bytes, bool atLineStart) {
  if (FindLeadingDot(bytes, 0, atLineStart) == bytes.size()) {
    connection.Send(bytes);
  } else {
    connection.Send(WithDotsDoubled(bytes, atLineStart));
  }
}

void SendData(SmtpConnection& connection, MimeMessage& message) {
  std::vector<char> buffer(SendBufferSize);
  bool atLineStart = true;
  while (const std::size_t length = message.Read(buffer)) {
    const std::string_view bytes(buffer.data(), length);
    SendPiece(connection, bytes, atLineStart);
    atLineStart = bytes.ends_with('\n');
  }
  connection.ExpectSilence();
}

}  // namespace

SmtpMail::SmtpMail(const FileSystem& files, const Clock& clock, StatusDisplay& display, SmtpLimits limits)
    : files_(files), clock_(clock), display_(display), limits_(std::move(limits)) {
  ::curl_global_init(CURL_GLOBAL_DEFAULT);
}

SmtpMail::~SmtpMail() {
  ::curl_global_cleanup();
}

MailOutcome SmtpMail::Send(const MailServer& server, const Mail& mail,
                           const std::function<void()>& onAccepted) {
  int number = CURLE_OK;
  std::string description;
  try {
    description = Deliver(server, mail, onAccepted);
  } catch (const SmtpError& fault) {
    number = fault.Number();
    description = fault.what();
  } catch (const FileError& error) {
    number = CURLE_READ_ERROR;
    description = error.what();
  } catch (const std::exception& error) {
    number = CURLE_FAILED_INIT;
    description = error.what();
  }
  return {.accepted = number == CURLE_OK,
          .cancelled = number == CancelledByUser,
          .statusText = MailStatusText(server, mail, number, description)};
}

/// Returns the text of the reply with which the server accepted the mail.
std::string SmtpMail::Deliver(const MailServer& server, const Mail& mail,
                              const std::function<void()>& accepted) const {
  const std::string fault = CheckMail(server, mail);
  if (!fault.empty()) throw SmtpError(CURLE_BAD_FUNCTION_ARGUMENT, fault);
  MimeMessage message(files_, mail);
  const std::unique_ptr<SmtpConnection> connection = Connect(server);
  std::string reply = Submit(*connection, mail, message);
  try {
    accepted();
    connection->Quit();
  } catch (const std::exception&) {
    // The server has the mail: reported as failed, it would be sent twice.
  }
  return reply;
}

std::unique_ptr<SmtpConnection> SmtpMail::Connect(const MailServer& server) const {
  for (std::int32_t tries = 1;; ++tries) {
    try {
      return std::make_unique<SmtpConnection>(server, limits_, clock_, display_);
    } catch (const SmtpError& fault) {
      if (!fault.MayRetry() || tries >= server.tryCount) throw;
    }
  }
}

std::string SmtpMail::Submit(SmtpConnection& connection, const Mail& mail, MimeMessage& message) const {
  const std::string size = connection.OffersSize() ? fmt::format(" SIZE={}", message.Size()) : "";
  Command(connection, fmt::format("MAIL FROM:<{}>{}", mail.sender, size), 2);
  Command(connection, fmt::format("RCPT TO:<{}>", mail.recipient), 2);
  Command(connection, "DATA", 3);
  SendData(connection, message);
  return Finish(connection);
}

/// Ends the data. The server may have accepted the mail from here on, even when its reply does not arrive.
std::string SmtpMail::Finish(SmtpConnection& connection) const {
  SmtpReply reply;
  try {
    connection.BeginHandover();
    connection.Send(".\r\n");
    reply = connection.AwaitReply(limits_.finalReply);
  } catch (const SmtpError& fault) {
    throw SmtpError(fault.Number(), fmt::format("{}; the mail may have been delivered", fault.what()), false);
  }
  if (reply.code / 100 == 2) return reply.text;
  connection.Quit();
  throw SmtpError(CURLE_SEND_ERROR, reply.text);
}

}  // namespace fieldpost
