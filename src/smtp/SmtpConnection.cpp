#include "smtp/SmtpConnection.h"

#include <algorithm>
#include <array>

#include "common/Limits.h"
#include "smtp/SmtpFaults.h"

namespace fieldpost {
namespace {

/// Well below 50 ms, the longest time between two calls that process window events.
constexpr std::chrono::milliseconds LongestWait{20};

TlsPlan PlanOf(const MailServer& server, const SmtpLimits& limits) {
  return DecideTls(server.port, server.tlsMode, limits.implicitTlsPort);
}

}  // namespace

SmtpConnection::SmtpConnection(const MailServer& server, const SmtpLimits& limits, const Clock& clock,
                               StatusDisplay& display)
    : server_(server),
      limits_(limits),
      clock_(clock),
      display_(display),
      timeout_(std::max(server.timeoutSeconds, 1)),
      login_(PlanOf(server, limits), !server.userName.empty() && !server.password.empty(),
             [this] { return limits_.isThisMachine(curl_.PeerAddress()); }),
      curl_(server, PlanOf(server, limits), login_),
      lastProgress_(clock.Steady()),
      replyBegun_(lastProgress_) {
  Open();
}

void SmtpConnection::Open() {
  for (;;) {
    const auto [result, completedSteps] = curl_.Advance();
    if (result == CURLE_OPERATION_TIMEDOUT) throw NoReply(timeout_);
    if (result && *result != CURLE_OK) throw OpeningFailed(*result, server_, login_, curl_);
    if (result) break;
    NoteProgress(completedSteps);
    CheckReplyTime(limits_.timeoutsPerReply * timeout_);
    Wait(0, timeout_);
  }
  if (!curl_.IsOpen()) throw ConnectionLost(server_);
  Progress();
}

void SmtpConnection::NoteProgress(std::size_t completedSteps) {
  const std::size_t steps = login_.ReplyCount() + completedSteps;
  if (login_.LineCount() != seenLines_) Progress();
  if (steps != seenSteps_) BeginReply();
  seenLines_ = login_.LineCount();
  seenSteps_ = steps;
}

void SmtpConnection::Wait(short events, Seconds limit) {
  if (handingOver_ && display_.IsCancelled()) limit = std::min(limit, timeout_);
  if (clock_.Steady() - lastProgress_ >= limit) throw NoReply(limit);
  ProcessEvents();
  curl_.Wait(events, LongestWait);
}

void SmtpConnection::ProcessEvents() {
  display_.ProcessEvents();
  if (handingOver_ || !display_.IsCancelled()) return;
  throw SmtpError(CancelledByUser, Cancelled().what(), false);
}

void SmtpConnection::Send(std::string_view bytes) {
  Progress();
  while (!bytes.empty()) {
    const std::optional<std::size_t> sent = curl_.Send(bytes);
    if (!sent) throw Lost();
    bytes.remove_prefix(*sent);
    if (*sent > 0) {
      Progress();
      ProcessEvents();
    } else {
      Wait(CURL_WAIT_POLLOUT, timeout_);
    }
  }
}

/// A server that sends a line now and then makes progress all the time, so the whole reply has a limit too.
void SmtpConnection::CheckReplyTime(Seconds limit) const {
  if (handingOver_ && display_.IsCancelled()) limit = std::min(limit, limits_.timeoutsPerReply * timeout_);
  if (clock_.Steady() - replyBegun_ < limit || lastProgress_ == replyBegun_) return;
  throw IncompleteReply(limit);
}

SmtpReply SmtpConnection::AwaitReply(std::optional<Seconds> limit) {
  BeginReply();
  for (;;) {
    if (std::optional<SmtpReply> reply = TakeReply()) return *reply;
    if (closed_) throw Lost();
    CheckReplyTime(limit.value_or(limits_.timeoutsPerReply * timeout_));
    if (!Receive()) Wait(CURL_WAIT_POLLIN, limit.value_or(timeout_));
  }
}

void SmtpConnection::ExpectSilence() {
  static_cast<void>(Receive());
  if (const std::optional<SmtpReply> reply = TakeReply()) {
    if (reply->code >= 400) throw SmtpError(CURLE_SEND_ERROR, reply->text);
    throw SmtpError(CURLE_WEIRD_SERVER_REPLY, "the server sent an unexpected reply: \"" + reply->text + "\"");
  }
  if (closed_ || !input_.empty() || replies_.IsWithinReply()) throw Lost();
}

void SmtpConnection::Quit() {
  try {
    Send("QUIT\r\n");
    static_cast<void>(AwaitReply(limits_.quitReply));
  } catch (const SmtpError&) {
  }
}

/// Reads what has arrived, or notes that the server has closed the connection. Returns false when neither has
/// happened.
bool SmtpConnection::Receive() {
  std::array<char, 4096> buffer{};
  const std::optional<std::size_t> received = curl_.Receive(buffer);
  if (!received) {
    closed_ = true;
    return true;
  }
  input_.append(buffer.data(), *received);
  return *received > 0;
}

std::optional<std::string> SmtpConnection::TakeLine() {
  const std::size_t end = input_.find('\n');
  if (end == std::string::npos) {
    if (input_.size() > MaxReplyLineBytes) {
      throw SmtpError(CURLE_WEIRD_SERVER_REPLY, "a line of the server's reply is too long");
    }
    return std::nullopt;
  }
  std::string line = input_.substr(0, end);
  while (line.ends_with('\r')) line.pop_back();
  input_.erase(0, end + 1);
  Progress();
  return line;
}

std::optional<SmtpReply> SmtpConnection::TakeReply() {
  while (const std::optional<std::string> line = TakeLine()) {
    if (std::optional<SmtpReply> reply = replies_.Add(*line)) return reply;
  }
  return std::nullopt;
}

/// Describes the loss of the connection by the last reply that the server sent before it, if there is one.
SmtpError SmtpConnection::Lost() {
  while (!closed_ && input_.size() < MaxReplyLineBytes && Receive()) {
  }
  if (const std::optional<SmtpReply> reply = TakeReply()) return {CURLE_SEND_ERROR, reply->text};
  return ConnectionLost(server_);
}

}  // namespace fieldpost
