// A connection to a mail server, encrypted and logged in as the settings require.
#pragma once

#include <curl/curl.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "common/Limits.h"
#include "common/StatusDisplay.h"
#include "platform/Clock.h"
#include "platform/LocalAddress.h"
#include "smtp/CurlConnection.h"
#include "smtp/MailTransport.h"
#include "smtp/SmtpLogin.h"

namespace fieldpost {

/// What the settings leave open about a connection.
struct SmtpLimits {
  std::chrono::seconds finalReply{MaxFinalReplySeconds};  ///< for the reply to the end of the data
  std::chrono::seconds quitReply{2};                      ///< for the reply to QUIT
  std::int32_t timeoutsPerReply = 3;  ///< any other reply must be complete within this many timeouts
  std::int32_t implicitTlsPort = ImplicitTlsPort;
  std::function<bool(const std::string&)> isThisMachine = IsThisMachine;  ///< whether an address is local
};

/// The number of the SmtpError of a connection that the user has cancelled.
inline constexpr int CancelledByUser = CURLE_ABORTED_BY_CALLBACK;

/// The dialogue with a mail server. libcurl opens the connection. The commands that transfer a mail are sent
/// and their replies read here, because libcurl itself would block until the final reply. Every wait
/// processes window events at least every 50 ms and ends when the user cancels. Failures throw SmtpError.
class SmtpConnection {
 public:
  /// Connects, encrypts and logs in, and returns when that is done. Throws when the server sends nothing for
  /// the settings' timeout. `server` has passed CheckMail. All arguments must outlive the connection.
  SmtpConnection(const MailServer& server, const SmtpLimits& limits, const Clock& clock,
                 StatusDisplay& display);
  SmtpConnection(const SmtpConnection&) = delete;
  SmtpConnection& operator=(const SmtpConnection&) = delete;
  ~SmtpConnection() = default;

  /// Whether MAIL may announce the size of the message (RFC 1870).
  [[nodiscard]] bool OffersSize() const { return login_.OffersSize(); }

  /// Call before sending the end of the data. From then on the server may have accepted the mail, which only
  /// its reply shows, so cancelling no longer ends a wait but limits it to the settings' timeout.
  void BeginHandover() { handingOver_ = true; }

  /// Sends all of `bytes`. Throws when the connection is lost or makes no progress for the settings' timeout.
  void Send(std::string_view bytes);

  /// Waits for the next reply and returns it. Throws when it is not complete within `limit`; without a limit,
  /// when nothing arrives for the settings' timeout, or the reply is not complete within
  /// SmtpLimits::timeoutsPerReply timeouts.
  [[nodiscard]] SmtpReply AwaitReply(std::optional<std::chrono::seconds> limit = std::nullopt);

  /// Throws when the server has sent anything that no command asked for, or has closed the connection.
  void ExpectSilence();

  /// Sends QUIT and waits for the reply. Never throws, because the result of the mail is known by then.
  void Quit();

 private:
  using Seconds = std::chrono::seconds;

  void Open();
  void NoteProgress(std::size_t completedSteps);
  void Progress() { lastProgress_ = clock_.Steady(); }
  void BeginReply() { replyBegun_ = lastProgress_ = clock_.Steady(); }
  void CheckReplyTime(Seconds limit) const;
  void Wait(short events, Seconds limit);
  void ProcessEvents();
  [[nodiscard]] bool Receive();
  [[nodiscard]] std::optional<std::string> TakeLine();
  [[nodiscard]] std::optional<SmtpReply> TakeReply();
  [[nodiscard]] SmtpError Lost();

  const MailServer& server_;
  const SmtpLimits& limits_;
  const Clock& clock_;
  StatusDisplay& display_;
  Seconds timeout_;
  SmtpLogin login_;
  CurlConnection curl_;
  std::chrono::steady_clock::time_point lastProgress_;
  std::chrono::steady_clock::time_point replyBegun_;
  std::size_t seenLines_ = 0;
  std::size_t seenSteps_ = 0;
  std::string input_;  // received and not yet taken as lines
  bool closed_ = false;
  bool handingOver_ = false;
  SmtpReplyReader replies_;
};

}  // namespace fieldpost
