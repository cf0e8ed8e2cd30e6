// libcurl's handles for one connection to a mail server.
#pragma once

#include <curl/curl.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include "smtp/MailCheck.h"
#include "smtp/MailTransport.h"
#include "smtp/SmtpLogin.h"

namespace fieldpost {

/// Opens a connection with libcurl, which looks up the server's name, connects, encrypts and logs in. The
/// open connection then carries bytes in both directions. No call but `Wait` blocks.
class CurlConnection {
 public:
  /// How far the opening of the connection has come.
  struct Progress {
    std::optional<CURLcode> result;  ///< empty while it is being opened
    std::size_t completedSteps =
        0;  ///< of name lookup, connection and encryption; counted while it is opened
  };

  /// Configures the connection. `server` has passed CheckMail. `login` receives each line of the
  /// dialogue until the connection is open, and must outlive the object. Throws SmtpError when libcurl
  /// refuses a setting or has no memory.
  CurlConnection(const MailServer& server, TlsPlan plan, SmtpLogin& login);
  CurlConnection(const CurlConnection&) = delete;
  CurlConnection& operator=(const CurlConnection&) = delete;
  ~CurlConnection();

  /// Continues to open the connection as far as that is possible without waiting. Throws the SmtpError with
  /// which `login` refused a line, or an SmtpError when libcurl itself fails.
  [[nodiscard]] Progress Advance();

  /// Whether the connection was opened and its socket can be used.
  [[nodiscard]] bool IsOpen() const { return socket_ != CURL_SOCKET_BAD; }

  /// Sends as much of `bytes` as is possible without waiting. Returns the number of bytes sent, which may be
  /// 0, or nothing when the connection is lost.
  [[nodiscard]] std::optional<std::size_t> Send(std::string_view bytes);

  /// Receives the bytes that have arrived into `buffer`. Returns their number, 0 when none have arrived, or
  /// nothing when the connection is closed.
  [[nodiscard]] std::optional<std::size_t> Receive(std::span<char> buffer);

  /// Waits until the socket is ready for `events` (CURL_WAIT_POLLIN, CURL_WAIT_POLLOUT; 0 while the
  /// connection is being opened), or until `limit` has passed.
  void Wait(short events, std::chrono::milliseconds limit);

  /// The numeric address of the server; empty before the connection is established.
  [[nodiscard]] std::string PeerAddress() const;

  /// The system's error of the attempt to connect; 0 when there is none.
  [[nodiscard]] std::error_code SystemError() const;

  /// OpenSSL's number for the result of the certificate check; 0 when there is none.
  [[nodiscard]] long CertificateResult() const;

  /// libcurl's description of its latest failure, in UTF-8 without control characters; may be empty.
  [[nodiscard]] std::string Detail() const;

 private:
  struct CleanEasy {
    void operator()(CURL* easy) const { ::curl_easy_cleanup(easy); }
  };
  struct CleanMulti {
    void operator()(CURLM* multi) const { ::curl_multi_cleanup(multi); }
  };

  static std::size_t OnReplyLine(char* line, std::size_t size, std::size_t count, void* self);
  static int OnDebug(CURL* easy, curl_infotype type, char* text, std::size_t size, void* self);

  template <typename Value>
  void Set(CURLoption option, Value value);
  void SetUp(const MailServer& server, TlsPlan plan);
  void SetUpLogin(const MailServer& server);
  void SetUpTls(const MailServer& server, TlsPlan plan);
  void SetUpCallbacks();
  [[nodiscard]] std::optional<CURLcode> Result();
  [[nodiscard]] std::size_t CountSteps();

  SmtpLogin& login_;
  std::optional<SmtpError> refusal_;
  std::array<char, CURL_ERROR_SIZE> detail_{};
  std::unique_ptr<CURLM, CleanMulti> multi_;
  std::unique_ptr<CURL, CleanEasy> easy_;
  curl_socket_t socket_ = CURL_SOCKET_BAD;
};

}  // namespace fieldpost
