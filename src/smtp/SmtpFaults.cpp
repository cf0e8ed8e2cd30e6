#include "smtp/SmtpFaults.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <system_error>

#include "common/Text.h"

namespace fieldpost {
namespace {

constexpr std::string_view CheckTheClock =
    "check this computer's clock, or have the server's certificate renewed";
constexpr std::string_view EnterItsName =
    "enter the server name that the certificate contains, or have the server checked";
constexpr std::string_view TrustItself =
    "if this is the right server, enter its certificate under Trusted certificates (TlsCaFile)";
constexpr std::string_view TrustItsAuthority =
    "if this is the right server, enter that authority's certificate under Trusted certificates (TlsCaFile)";

std::string CertificateFault(const MailServer& server, const CurlConnection& connection) {
  // Results of the certificate check as OpenSSL numbers them.
  constexpr long unspecified = 1;  // libcurl reports this or 0 when only the name is wrong
  constexpr long notYetValid = 9;
  constexpr long expired = 10;
  constexpr long selfSigned = 18;
  constexpr std::array unknownAuthority{2L, 7L, 19L, 20L, 21L};  // 7: another authority of a trusted name
  const long result = connection.CertificateResult();
  const auto fault = [&](std::string_view what, std::string_view whatToDo) {
    return fmt::format("the certificate of {} {}; {}", server.server, what, whatToDo);
  };
  if (result == expired) return fault("has expired", CheckTheClock);
  if (result == notYetValid) return fault("is not valid yet", CheckTheClock);
  if (result <= unspecified) return fault("is for another server name", EnterItsName);
  if (result == selfSigned) return fault("is self-signed", TrustItself);
  if (std::find(unknownAuthority.begin(), unknownAuthority.end(), result) != unknownAuthority.end())
    return fault("is signed by an authority that this computer does not trust", TrustItsAuthority);
  return fault(fmt::format("is not trusted ({})", connection.Detail()), TrustItsAuthority);
}

SmtpError CannotConnect(const MailServer& server, const CurlConnection& connection) {
  const std::error_code reason = connection.SystemError();
  if (reason == std::errc::connection_refused) {
    return SmtpError(CURLE_COULDNT_CONNECT,
                     fmt::format("{}, port {} refused the connection", server.server, server.port));
  }
  return SmtpError(CURLE_COULDNT_CONNECT,
                   fmt::format("could not reach {}, port {}: {}", server.server, server.port,
                               reason ? reason.message() : connection.Detail()));
}

SmtpError LoginFailed(const SmtpLogin& login) {
  const SmtpReply& reply = login.LastReply();
  if (login.HasBegunLogin()) return SmtpError(CURLE_LOGIN_DENIED, reply.text, reply.code / 100 != 5);
  return SmtpError(CURLE_LOGIN_DENIED, "the server offers no login with user name and password", false);
}

/// Explains a failure for which libcurl's code alone says too little.
SmtpError OtherFault(CURLcode code, const MailServer& server, const SmtpLogin& login,
                     const CurlConnection& connection) {
  if (code == CURLE_WEIRD_SERVER_REPLY && login.HasAgreedToTls()) {
    return SmtpError(code,
                     "the server continued unencrypted after it had agreed to encryption; "
                     "somebody may be intercepting the connection");
  }
  if (login.LastReply().code >= 400) return SmtpError(code, login.LastReply().text);
  const std::string detail = connection.Detail();
  // libcurl limits what a server may send before the login is complete.
  if (detail.starts_with("Too large response")) return SmtpError(code, "the server's reply is too long");
  const bool lost = code == CURLE_RECV_ERROR || code == CURLE_SEND_ERROR || code == CURLE_GOT_NOTHING;
  if (lost) return SmtpError(code, ConnectionLost(server).what());
  return SmtpError(code, detail.empty() ? ::curl_easy_strerror(code) : detail);
}

}  // namespace

SmtpError NoReply(std::chrono::seconds waited) {
  return SmtpError(CURLE_OPERATION_TIMEDOUT, fmt::format("no reply from the server for {} second{}",
                                                         waited.count(), waited.count() == 1 ? "" : "s"));
}

SmtpError IncompleteReply(std::chrono::seconds waited) {
  return SmtpError(CURLE_OPERATION_TIMEDOUT,
                   fmt::format("the server's reply was not complete after {} seconds", waited.count()));
}

SmtpError ConnectionLost(const MailServer& server) {
  return SmtpError(CURLE_RECV_ERROR, fmt::format("the connection to {} was lost", server.server));
}

SmtpError OpeningFailed(CURLcode code, const MailServer& server, const SmtpLogin& login,
                        const CurlConnection& connection) {
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
      return SmtpError(code, fmt::format("could not find the server {}", server.server));
    case CURLE_COULDNT_CONNECT:
      return CannotConnect(server, connection);
    case CURLE_PEER_FAILED_VERIFICATION:
      return SmtpError(code, CertificateFault(server, connection));
    case CURLE_SSL_CACERT_BADFILE:
      return SmtpError(code,
                       "the file of trusted certificates cannot be read: " + EscapeControls(server.tlsCaFile),
                       false);
    case CURLE_SSL_CONNECT_ERROR:
      return SmtpError(code, fmt::format("could not establish an encrypted connection to {} ({})",
                                         server.server, connection.Detail()));
    case CURLE_USE_SSL_FAILED:
      return SmtpError(code, "the server offers no encryption, but the settings require it");
    case CURLE_LOGIN_DENIED:
      return LoginFailed(login);
    default:
      return OtherFault(code, server, login, connection);
  }
}

}  // namespace fieldpost
