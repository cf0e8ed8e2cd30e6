#include "smtp/SmtpConnection.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <system_error>

#include "common/Limits.h"
#include "common/Text.h"
#include "smtp/MailText.h"

namespace fieldpost {
namespace {

/// Well below the 50 ms after which a window lets events run: waits that end just before would double them.
constexpr int LongestWaitMilliseconds = 20;
constexpr std::string_view CheckTheClock =
    "check this computer's clock, or have the server's certificate renewed";
constexpr std::string_view EnterItsName =
    "enter the server under the name that its certificate bears, or have it checked";
constexpr std::string_view TrustItself =
    "if it is the right server, let Trusted certificates (TlsCaFile) name its certificate";
constexpr std::string_view TrustItsAuthority =
    "if it is the right server, let Trusted certificates (TlsCaFile) name that authority's certificate";

std::string_view WithoutLineEnd(std::string_view line) {
  while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

std::size_t OnHeader(char* line, std::size_t size, std::size_t count, void* login) {
  const bool goOn = static_cast<SmtpLogin*>(login)->SawLine(WithoutLineEnd({line, size * count}));
  return goOn ? size * count : 0;
}

int OnDebug(CURL*, curl_infotype type, char* text, std::size_t size, void* login) {
  if (type == CURLINFO_HEADER_OUT) static_cast<SmtpLogin*>(login)->SawCommand({text, size});
  return 0;
}

}  // namespace

SmtpConnection::SmtpConnection(const MailServer& server, const SmtpLimits& limits, const Clock& clock,
                               StatusDisplay& display)
    : server_(server),
      limits_(limits),
      clock_(clock),
      display_(display),
      timeout_(std::max(server.timeoutSeconds, 1)),
      plan_(DecideTls(server.port, server.tlsMode, limits.implicitTlsPort)),
      login_(plan_, !server.userName.empty() && !server.password.empty(),
             [this] {
               const char* address = nullptr;
               ::curl_easy_getinfo(easy_.get(), CURLINFO_PRIMARY_IP, &address);
               return address != nullptr && limits_.isThisMachine(address);
             }),
      multi_(::curl_multi_init()),
      easy_(::curl_easy_init()),
      lastProgress_(clock.Steady()),
      replyBegun_(lastProgress_) {
  if (!multi_ || !easy_) throw SmtpError(CURLE_OUT_OF_MEMORY, "out of memory", false);
  SetUp();
  SetUpTls();
  SetUpCallbacks();
  ::curl_multi_add_handle(multi_.get(), easy_.get());
  try {
    Open();
  } catch (const SmtpError&) {
    ::curl_multi_remove_handle(multi_.get(), easy_.get());
    throw;
  }
}

SmtpConnection::~SmtpConnection() {
  ::curl_multi_remove_handle(multi_.get(), easy_.get());
}

template <typename Value>
void SmtpConnection::Set(CURLoption option, Value value) {
  const CURLcode code = ::curl_easy_setopt(easy_.get(), option, value);
  if (code != CURLE_OK) throw SmtpError(code, ::curl_easy_strerror(code), false);
}

void SmtpConnection::SetUp() {
  constexpr long never = 24L * 60 * 60;
  Set(CURLOPT_URL, ServerUrl(server_, plan_).c_str());
  Set(CURLOPT_PROTOCOLS_STR, "smtp,smtps");
  Set(CURLOPT_PATH_AS_IS, 1L);
  Set(CURLOPT_PROXY, "");
  Set(CURLOPT_CONNECT_ONLY, 1L);
  Set(CURLOPT_NOSIGNAL, 1L);
  // Without it a name server that does not answer would hold up the end of the connection.
  Set(CURLOPT_QUICK_EXIT, 1L);
  // Shares the time among the addresses of a name; raised as soon as the connection stands.
  Set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(timeout_.count()));
  Set(CURLOPT_SERVER_RESPONSE_TIMEOUT, never);
  if (server_.userName.empty()) return;
  Set(CURLOPT_USERNAME, server_.userName.c_str());
  Set(CURLOPT_PASSWORD, server_.password.c_str());
  // The ways that need user name and password alone. GSSAPI would come first and ask for a ticket.
  Set(CURLOPT_LOGIN_OPTIONS,
      "AUTH=SCRAM-SHA-256;AUTH=SCRAM-SHA-1;AUTH=CRAM-MD5;AUTH=NTLM;AUTH=PLAIN;AUTH=LOGIN");
}

void SmtpConnection::SetUpTls() {
  const bool required = plan_ == TlsPlan::Required || plan_ == TlsPlan::FromTheStart;
  const long level = plan_ == TlsPlan::Never ? CURLUSESSL_NONE : required ? CURLUSESSL_ALL : CURLUSESSL_TRY;
  Set(CURLOPT_USE_SSL, level);
  Set(CURLOPT_SSL_VERIFYPEER, 1L);
  Set(CURLOPT_SSL_VERIFYHOST, 2L);
  if (server_.tlsCaFile.empty()) return;
  Set(CURLOPT_CAINFO, server_.tlsCaFile.c_str());
  Set(CURLOPT_CAPATH, static_cast<char*>(nullptr));
}

void SmtpConnection::SetUpCallbacks() {
  Set(CURLOPT_ERRORBUFFER, detail_.data());
  Set(CURLOPT_HEADERFUNCTION, &OnHeader);
  Set(CURLOPT_HEADERDATA, static_cast<void*>(&login_));
  Set(CURLOPT_DEBUGFUNCTION, &OnDebug);
  Set(CURLOPT_DEBUGDATA, static_cast<void*>(&login_));
  Set(CURLOPT_VERBOSE, 1L);
}

void SmtpConnection::Open() {
  for (;;) {
    int running = 0;
    const CURLMcode state = ::curl_multi_perform(multi_.get(), &running);
    if (login_.Fault()) throw SmtpError(*login_.Fault());
    if (state != CURLM_OK) throw SmtpError(CURLE_FAILED_INIT, ::curl_multi_strerror(state));
    if (const std::optional<CURLcode> result = Result()) {
      if (*result != CURLE_OK) throw FaultOf(*result);
      break;
    }
    NoteProgress();
    CheckDragging(limits_.wholeReply * timeout_);
    Wait(0, timeout_);
  }
  ::curl_easy_getinfo(easy_.get(), CURLINFO_ACTIVESOCKET, &socket_);
  if (socket_ == CURL_SOCKET_BAD) throw Broken();
  Progress();
}

std::optional<CURLcode> SmtpConnection::Result() {
  int waiting = 0;
  while (const CURLMsg* message = ::curl_multi_info_read(multi_.get(), &waiting)) {
    if (message->msg == CURLMSG_DONE) return message->data.result;
  }
  return std::nullopt;
}

void SmtpConnection::NoteProgress() {
  std::size_t steps = login_.ReplyCount();
  for (const CURLINFO info :
       {CURLINFO_NAMELOOKUP_TIME_T, CURLINFO_CONNECT_TIME_T, CURLINFO_APPCONNECT_TIME_T}) {
    curl_off_t microseconds = 0;
    ::curl_easy_getinfo(easy_.get(), info, &microseconds);
    if (microseconds == 0) continue;
    ++steps;
    if (info == CURLINFO_CONNECT_TIME_T) {
      // libcurl would count greeting, encryption and login into the time for the connection.
      Set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::numeric_limits<std::int32_t>::max()));
    }
  }
  if (login_.LineCount() != seenLines_) Progress();
  if (steps != seenSteps_) BeginReply();
  seenLines_ = login_.LineCount();
  seenSteps_ = steps;
}

void SmtpConnection::Wait(short events, Seconds limit) {
  if (handingOver_ && IsCancelled()) limit = std::min(limit, timeout_);
  if (clock_.Steady() - lastProgress_ >= limit) throw Silence(limit);
  TakeTurn();
  curl_waitfd extra{.fd = socket_, .events = events, .revents = 0};
  ::curl_multi_poll(multi_.get(), events == 0 ? nullptr : &extra, events == 0 ? 0 : 1,
                    LongestWaitMilliseconds, nullptr);
}

void SmtpConnection::TakeTurn() {
  display_.ProcessEvents();
  if (handingOver_ || !IsCancelled()) return;
  throw SmtpError(CancelledByUser, Cancelled().what(), false);
}

void SmtpConnection::Send(std::string_view bytes) {
  Progress();
  while (!bytes.empty()) {
    std::size_t sent = 0;
    const CURLcode code = ::curl_easy_send(easy_.get(), bytes.data(), bytes.size(), &sent);
    if (code != CURLE_OK && code != CURLE_AGAIN) throw Broken();
    bytes.remove_prefix(sent);
    if (sent > 0) {
      Progress();
      TakeTurn();
    } else {
      Wait(CURL_WAIT_POLLOUT, timeout_);
    }
  }
}

/// A server that says a line now and then would never seem to stand still.
void SmtpConnection::CheckDragging(Seconds limit) const {
  if (handingOver_ && IsCancelled()) limit = std::min(limit, limits_.wholeReply * timeout_);
  if (clock_.Steady() - replyBegun_ < limit || lastProgress_ == replyBegun_) return;
  throw SmtpError(CURLE_OPERATION_TIMEDOUT,
                  fmt::format("the server's answer was not whole after {} seconds", limit.count()));
}

SmtpReply SmtpConnection::AwaitReply(std::optional<Seconds> limit) {
  BeginReply();
  for (;;) {
    if (std::optional<SmtpReply> reply = TakeReply()) return *reply;
    if (closed_) throw Broken();
    CheckDragging(limit.value_or(limits_.wholeReply * timeout_));
    if (!Receive()) Wait(CURL_WAIT_POLLIN, limit.value_or(timeout_));
  }
}

void SmtpConnection::ExpectSilence() {
  Receive();
  if (const std::optional<SmtpReply> reply = TakeReply()) {
    if (reply->code >= 400) throw SmtpError(CURLE_SEND_ERROR, reply->text);
    throw SmtpError(CURLE_WEIRD_SERVER_REPLY, "the server answered out of turn: " + reply->text);
  }
  if (closed_ || !input_.empty() || replies_.IsWithinReply()) throw Broken();
}

void SmtpConnection::Quit() {
  try {
    Send("QUIT\r\n");
    AwaitReply(limits_.farewell);
  } catch (const SmtpError&) {
  }
}

/// Reads what has come. False when nothing has.
bool SmtpConnection::Receive() {
  std::array<char, 4096> buffer{};
  std::size_t got = 0;
  const CURLcode code = ::curl_easy_recv(easy_.get(), buffer.data(), buffer.size(), &got);
  if (code == CURLE_AGAIN) return false;
  if (code != CURLE_OK || got == 0) {
    closed_ = true;
    return true;
  }
  input_.append(buffer.data(), got);
  return true;
}

std::optional<std::string> SmtpConnection::TakeLine() {
  const std::size_t end = input_.find('\n');
  if (end == std::string::npos) {
    if (input_.size() > MaxReplyLineBytes)
      throw SmtpError(CURLE_WEIRD_SERVER_REPLY, "the server's line has no end");
    return std::nullopt;
  }
  std::string line(WithoutLineEnd({input_.data(), end + 1}));
  input_.erase(0, end + 1);
  Progress();
  return line;
}

std::optional<SmtpReply> SmtpConnection::TakeReply() {
  while (const std::optional<std::string> line = TakeLine()) {
    if (replies_.Add(*line)) return replies_.Last();
  }
  return std::nullopt;
}

/// The connection is gone. What the server said before it went tells more than that.
SmtpError SmtpConnection::Broken() {
  while (!closed_ && input_.size() < MaxReplyLineBytes && Receive()) {
  }
  if (const std::optional<SmtpReply> reply = TakeReply()) return {CURLE_SEND_ERROR, reply->text};
  return Gone(CURLE_RECV_ERROR);
}

SmtpError SmtpConnection::Gone(CURLcode code) const {
  return {code, fmt::format("the connection to {} broke off", server_.server)};
}

SmtpError SmtpConnection::Silence(Seconds limit) const {
  return {CURLE_OPERATION_TIMEDOUT, fmt::format("no answer from the server for {} second{}", limit.count(),
                                                limit.count() == 1 ? "" : "s")};
}

SmtpError SmtpConnection::FaultOf(CURLcode code) const {
  const SmtpReply& reply = login_.LastReply();
  long systemError = 0;
  ::curl_easy_getinfo(easy_.get(), CURLINFO_OS_ERRNO, &systemError);
  const std::error_code reason(static_cast<int>(systemError), std::generic_category());
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
      return {code, fmt::format("could not find the server {}", server_.server)};
    case CURLE_COULDNT_CONNECT:
      if (reason == std::errc::connection_refused) {
        return {code, fmt::format("{}, port {} refused the connection", server_.server, server_.port)};
      }
      return {code, fmt::format("could not reach {}, port {}: {}", server_.server, server_.port,
                                systemError == 0 ? detail_.data() : reason.message())};
    case CURLE_OPERATION_TIMEDOUT:
      return Silence(timeout_);
    case CURLE_PEER_FAILED_VERIFICATION:
      return {code, CertificateFault()};
    case CURLE_SSL_CACERT_BADFILE:
      return {code, "the file of trusted certificates cannot be read: " + EscapeControls(server_.tlsCaFile),
              false};
    case CURLE_SSL_CONNECT_ERROR:
      return {code, fmt::format("no encryption came about with {} ({})", server_.server,
                                EscapeControls(Trimmed(WellFormedUtf8(detail_.data()))))};
    case CURLE_USE_SSL_FAILED:
      return {code, "the server offers no encryption, and the settings demand it"};
    case CURLE_LOGIN_DENIED:
      if (login_.HasBegunLogin()) return {code, reply.text, reply.code / 100 != 5};
      return {code, "the server offers no way of logging in with user name and password", false};
    default:
      return OtherFaultOf(code);
  }
}

/// What the number alone does not tell.
SmtpError SmtpConnection::OtherFaultOf(CURLcode code) const {
  if (code == CURLE_WEIRD_SERVER_REPLY && login_.HasConsentedToTls()) {
    return {code,
            "the server went on unencrypted after it had agreed to encryption; somebody may be in between"};
  }
  const SmtpReply& reply = login_.LastReply();
  if (reply.code >= 400) return {code, reply.text};
  const std::string_view words = detail_.front() == '\0' ? ::curl_easy_strerror(code) : detail_.data();
  // libcurl's own bound on what a server says before it is logged in to.
  if (words.starts_with("Too large response")) return {code, "the server's answer has no end"};
  const bool broken = code == CURLE_RECV_ERROR || code == CURLE_SEND_ERROR || code == CURLE_GOT_NOTHING;
  return broken ? Gone(code) : SmtpError(code, EscapeControls(WellFormedUtf8(words)));
}

std::string SmtpConnection::CertificateFault() const {
  // Results of the certificate check as OpenSSL numbers them.
  constexpr long unspecified = 1;  // also where libcurl stops at the name, before it looks at the rest
  constexpr long notYetValid = 9;
  constexpr long expired = 10;
  constexpr long selfSigned = 18;
  constexpr std::array unknownAuthority{2L, 7L, 19L, 20L, 21L};  // also one that only bears a known name
  long result = unspecified;
  ::curl_easy_getinfo(easy_.get(), CURLINFO_SSL_VERIFYRESULT, &result);
  const auto fault = [this](std::string_view what, std::string_view whatToDo) {
    return fmt::format("the certificate of {} {}; {}", server_.server, what, whatToDo);
  };
  if (result == expired) return fault("has expired", CheckTheClock);
  if (result == notYetValid) return fault("is not valid yet", CheckTheClock);
  if (result <= unspecified) return fault("is for another name", EnterItsName);
  if (result == selfSigned) return fault("is signed by itself alone", TrustItself);
  if (std::find(unknownAuthority.begin(), unknownAuthority.end(), result) != unknownAuthority.end())
    return fault("is signed by an authority that is not trusted here", TrustItsAuthority);
  return fault(fmt::format("is not trusted ({})", EscapeControls(WellFormedUtf8(detail_.data()))),
               TrustItsAuthority);
}

}  // namespace fieldpost
