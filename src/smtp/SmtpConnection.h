// A connection to a mail server, encrypted and logged in as the settings say.
#pragma once

#include <curl/curl.h>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "common/Limits.h"
#include "common/StatusDisplay.h"
#include "platform/Clock.h"
#include "platform/LocalAddress.h"
#include "smtp/MailTransport.h"
#include "smtp/SmtpLogin.h"

namespace fieldpost {

/// What the settings do not say about a connection.
struct SmtpLimits {
  std::chrono::seconds finalAnswer{MaxFinalReplySeconds};  ///< for the reply to the end of the data
  std::chrono::seconds farewell{2};                        ///< for the answer to QUIT
  std::int32_t wholeReply = 3;  ///< time-outs in which any other reply must have come whole
  std::int32_t implicitTlsPort = ImplicitTlsPort;
  std::function<bool(const std::string&)> isThisMachine = IsThisMachine;
};

/// The number of the SmtpError that ends a connection because the person at the screen wanted it.
inline constexpr int CancelledByUser = CURLE_ABORTED_BY_CALLBACK;

/// libcurl finds the server, connects, encrypts and logs in. The few commands that carry a mail then go over
/// its connection from here, because libcurl itself stands still while it waits for the last answer, and
/// window events with it. Every wait lets events run, at the latest after 50 ms, and ends when the person at
/// the screen wants it to. What fails throws SmtpError.
class SmtpConnection {
 public:
  /// Connects, which takes as long as the settings' time-out allows. `server` has passed CheckMail; it, the
  /// clock and the display must outlive the connection.
  SmtpConnection(const MailServer& server, const SmtpLimits& limits, const Clock& clock,
                 StatusDisplay& display);
  SmtpConnection(const SmtpConnection&) = delete;
  SmtpConnection& operator=(const SmtpConnection&) = delete;
  ~SmtpConnection();

  /// Whether the server takes the size of a message with its sender.
  [[nodiscard]] bool OffersSize() const { return login_.OffersSize(); }

  /// From here on the server may take the mail over. Its answer decides what became of the mail, so the wish
  /// to end only shortens the wait for it to the settings' time-out.
  void BeginHandover() { handingOver_ = true; }

  /// Sends all of `bytes`.
  void Send(std::string_view bytes);

  /// The next reply. Throws when it does not come within `limit`; when there is none, when nothing comes for
  /// the settings' time-out, or not the whole reply for a few times that.
  SmtpReply AwaitReply(std::optional<std::chrono::seconds> limit = std::nullopt);

  /// Throws when the server has said something that it was not asked for.
  void ExpectSilence();

  /// Takes leave of the server. Never throws: nothing that happens now changes what became of a mail.
  void Quit();

 private:
  struct CleanEasy {
    void operator()(CURL* easy) const { ::curl_easy_cleanup(easy); }
  };
  struct CleanMulti {
    void operator()(CURLM* multi) const { ::curl_multi_cleanup(multi); }
  };
  using Seconds = std::chrono::seconds;

  void SetUp();
  void SetUpTls();
  void SetUpCallbacks();
  template <typename Value>
  void Set(CURLoption option, Value value);
  void Open();
  [[nodiscard]] std::optional<CURLcode> Result();
  void NoteProgress();
  void Progress() { lastProgress_ = clock_.Steady(); }
  void BeginReply() { replyBegun_ = lastProgress_ = clock_.Steady(); }
  void CheckDragging(Seconds limit) const;
  void Wait(short events, Seconds limit);
  void TakeTurn();
  [[nodiscard]] bool IsCancelled() const { return display_.IsCancelled(); }
  bool Receive();
  std::optional<std::string> TakeLine();
  std::optional<SmtpReply> TakeReply();
  [[nodiscard]] SmtpError Broken();
  [[nodiscard]] SmtpError Gone(CURLcode code) const;
  [[nodiscard]] SmtpError FaultOf(CURLcode code) const;
  [[nodiscard]] SmtpError OtherFaultOf(CURLcode code) const;
  [[nodiscard]] SmtpError Silence(Seconds limit) const;
  [[nodiscard]] std::string CertificateFault() const;

  const MailServer& server_;
  const SmtpLimits& limits_;
  const Clock& clock_;
  StatusDisplay& display_;
  Seconds timeout_;
  TlsPlan plan_;
  SmtpLogin login_;
  std::array<char, CURL_ERROR_SIZE> detail_{};
  std::unique_ptr<CURLM, CleanMulti> multi_;
  std::unique_ptr<CURL, CleanEasy> easy_;
  curl_socket_t socket_ = CURL_SOCKET_BAD;
  std::chrono::steady_clock::time_point lastProgress_;
  std::chrono::steady_clock::time_point replyBegun_;
  std::size_t seenLines_ = 0;
  std::size_t seenSteps_ = 0;
  std::string input_;
  bool closed_ = false;
  bool handingOver_ = false;
  SmtpReplyReader replies_;
};

}  // namespace fieldpost
