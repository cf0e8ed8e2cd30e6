#include "smtp/CurlConnection.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "common/Text.h"
#include "common/Utf8.h"
#include "smtp/SmtpReply.h"

namespace fieldpost {

CurlConnection::CurlConnection(const MailServer& server, TlsPlan plan, SmtpLogin& login)
    : login_(login), multi_(::curl_multi_init()), easy_(::curl_easy_init()) {
  if (!multi_ || !easy_) throw SmtpError(CURLE_OUT_OF_MEMORY, "out of memory", false);
  SetUp(server, plan);
  SetUpLogin(server);
  SetUpTls(server, plan);
  SetUpCallbacks();
  if (const CURLMcode code = ::curl_multi_add_handle(multi_.get(), easy_.get()); code != CURLM_OK) {
    throw SmtpError(CURLE_FAILED_INIT, ::curl_multi_strerror(code), false);
  }
}

CurlConnection::~CurlConnection() {
  ::curl_multi_remove_handle(multi_.get(), easy_.get());
}

template <typename Value>
void CurlConnection::Set(CURLoption option, Value value) {
  const CURLcode code = ::curl_easy_setopt(easy_.get(), option, value);
  if (code != CURLE_OK) throw SmtpError(code, ::curl_easy_strerror(code), false);
}

void CurlConnection::SetUp(const MailServer& server, TlsPlan plan) {
  constexpr long never = 24L * 60 * 60;
  Set(CURLOPT_URL, ServerUrl(server, plan).c_str());
  Set(CURLOPT_PROTOCOLS_STR, "smtp,smtps");
  Set(CURLOPT_PATH_AS_IS, 1L);
  Set(CURLOPT_PROXY, "");
  Set(CURLOPT_CONNECT_ONLY, 1L);
  Set(CURLOPT_NOSIGNAL, 1L);
  // Without it, closing the connection would wait for a name server that does not answer.
  Set(CURLOPT_QUICK_EXIT, 1L);
  // libcurl divides this time among the addresses of a name. CountSteps raises it after the connection.
  Set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(std::max(server.timeoutSeconds, 1)));
  Set(CURLOPT_SERVER_RESPONSE_TIMEOUT, never);
}

void CurlConnection::SetUpLogin(const MailServer& server) {
  if (server.userName.empty()) return;
  Set(CURLOPT_USERNAME, server.userName.c_str());
  Set(CURLOPT_PASSWORD, server.password.c_str());
  // The methods that need only a user name and a password. libcurl would prefer GSSAPI, which needs a ticket.
  Set(CURLOPT_LOGIN_OPTIONS,
      "AUTH=SCRAM-SHA-256;AUTH=SCRAM-SHA-1;AUTH=CRAM-MD5;AUTH=NTLM;AUTH=PLAIN;AUTH=LOGIN");
}

void CurlConnection::SetUpTls(const MailServer& server, TlsPlan plan) {
  const bool required = plan == TlsPlan::Required || plan == TlsPlan::FromTheStart;
  const long level = plan == TlsPlan::Never ? CURLUSESSL_NONE : required ? CURLUSESSL_ALL : CURLUSESSL_TRY;
  Set(CURLOPT_USE_SSL, level);
  Set(CURLOPT_SSL_VERIFYPEER, 1L);
  Set(CURLOPT_SSL_VERIFYHOST, 2L);
  if (server.tlsCaFile.empty()) return;
  Set(CURLOPT_CAINFO, server.tlsCaFile.c_str());
  Set(CURLOPT_CAPATH, static_cast<char*>(nullptr));
}

void CurlConnection::SetUpCallbacks() {
  Set(CURLOPT_ERRORBUFFER, detail_.data());
  Set(CURLOPT_HEADERFUNCTION, &OnReplyLine);
  Set(CURLOPT_HEADERDATA, static_cast<void*>(this));
  Set(CURLOPT_DEBUGFUNCTION, &OnDebug);
  Set(CURLOPT_DEBUGDATA, static_cast<void*>(this));
  Set(CURLOPT_VERBOSE, 1L);
}

/// Called by libcurl, which gives up the connection when the result is not the length of the line.
std::size_t CurlConnection::OnReplyLine(char* line, std::size_t size, std::size_t count, void* self) {
  auto& connection = *static_cast<CurlConnection*>(self);
  std::string_view text(line, size * count);
  while (text.ends_with('\n') || text.ends_with('\r')) text.remove_suffix(1);
  try {
    connection.login_.OnReplyLine(text);
    return size * count;
  } catch (const SmtpError& error) {
    connection.refusal_ = error;
    return 0;
  }
}

int CurlConnection::OnDebug(CURL*, curl_infotype type, char* text, std::size_t size, void* self) {
  if (type == CURLINFO_HEADER_OUT) static_cast<CurlConnection*>(self)->login_.OnCommand({text, size});
  return 0;
}

CurlConnection::Progress CurlConnection::Advance() {
  int running = 0;
  const CURLMcode state = ::curl_multi_perform(multi_.get(), &running);
  if (refusal_) throw SmtpError(*refusal_);
  if (state != CURLM_OK) throw SmtpError(CURLE_FAILED_INIT, ::curl_multi_strerror(state));
  const std::optional<CURLcode> result = Result();
  if (!result) return {.result = std::nullopt, .completedSteps = CountSteps()};
  if (*result == CURLE_OK) ::curl_easy_getinfo(easy_.get(), CURLINFO_ACTIVESOCKET, &socket_);
  return {.result = result, .completedSteps = 0};
}

std::optional<CURLcode> CurlConnection::Result() {
  int waiting = 0;
  while (const CURLMsg* message = ::curl_multi_info_read(multi_.get(), &waiting)) {
    if (message->msg == CURLMSG_DONE) return message->data.result;
  }
  return std::nullopt;
}

std::size_t CurlConnection::CountSteps() {
  std::size_t steps = 0;
  for (const CURLINFO info :
       {CURLINFO_NAMELOOKUP_TIME_T, CURLINFO_CONNECT_TIME_T, CURLINFO_APPCONNECT_TIME_T}) {
    curl_off_t microseconds = 0;
    ::curl_easy_getinfo(easy_.get(), info, &microseconds);
    if (microseconds == 0) continue;
    ++steps;
    if (info == CURLINFO_CONNECT_TIME_T) {
      // libcurl would include greeting, encryption and login in the time for the connection.
      Set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::numeric_limits<std::int32_t>::max()));
    }
  }
  return steps;
}

std::optional<std::size_t> CurlConnection::Send(std::string_view bytes) {
  std::size_t sent = 0;
  const CURLcode code = ::curl_easy_send(easy_.get(), bytes.data(), bytes.size(), &sent);
  if (code != CURLE_OK && code != CURLE_AGAIN) return std::nullopt;
  return sent;
}

std::optional<std::size_t> CurlConnection::Receive(std::span<char> buffer) {
  std::size_t received = 0;
  const CURLcode code = ::curl_easy_recv(easy_.get(), buffer.data(), buffer.size(), &received);
  if (code == CURLE_AGAIN) return 0;
  if (code != CURLE_OK || received == 0) return std::nullopt;
  return received;
}

void CurlConnection::Wait(short events, std::chrono::milliseconds limit) {
  curl_waitfd extra{.fd = socket_, .events = events, .revents = 0};
  const CURLMcode code = ::curl_multi_poll(multi_.get(), events == 0 ? nullptr : &extra, events == 0 ? 0 : 1,
                                           static_cast<int>(limit.count()), nullptr);
  // Without a wait, the caller would repeat its question until the timeout.
  if (code != CURLM_OK) throw SmtpError(CURLE_RECV_ERROR, ::curl_multi_strerror(code), false);
}

std::string CurlConnection::PeerAddress() const {
  const char* address = nullptr;
  ::curl_easy_getinfo(easy_.get(), CURLINFO_PRIMARY_IP, &address);
  return address == nullptr ? "" : address;
}

std::error_code CurlConnection::SystemError() const {
  long number = 0;
  ::curl_easy_getinfo(easy_.get(), CURLINFO_OS_ERRNO, &number);
  return {static_cast<int>(number), std::generic_category()};
}

long CurlConnection::CertificateResult() const {
  long result = 0;
  ::curl_easy_getinfo(easy_.get(), CURLINFO_SSL_VERIFYRESULT, &result);
  return result;
}

std::string CurlConnection::Detail() const {
  return EscapeControls(Trimmed(WellFormedUtf8(detail_.data())));
}

}  // namespace fieldpost
