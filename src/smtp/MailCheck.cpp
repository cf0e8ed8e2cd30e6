#include "smtp/MailCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "common/Limits.h"
#include "common/Text.h"
#include "common/Utf8.h"

namespace fieldpost {
namespace {

/// A text to be checked, and the rule for it.
struct Checked {
  std::string_view title;  ///< what the text is, for the message
  std::string_view text;
  std::size_t longest;         ///< in bytes
  std::string_view forbidden;  ///< in addition to control characters, blanks and characters beyond ASCII
};

bool IsVisibleAscii(char c) {
  return c > ' ' && c <= '~';
}

std::string FaultOf(const Checked& checked) {
  if (checked.text.empty()) return fmt::format("{} is missing", checked.title);
  if (checked.text.size() > checked.longest) return fmt::format("{} is too long", checked.title);
  const bool visible = std::all_of(checked.text.begin(), checked.text.end(), IsVisibleAscii);
  if (visible && checked.text.find_first_of(checked.forbidden) == std::string_view::npos) return {};
  return fmt::format("{} contains a character that is not allowed: {}", checked.title,
                     EscapeControls(WellFormedUtf8(checked.text)));
}

/// Whether an address can be written to a header unchanged: quotes, comments and groups would have another
/// meaning there. An address without a domain is local to the mail server.
bool IsAddress(std::string_view address) {
  const std::size_t at = address.find('@');
  const std::string_view local = address.substr(0, at);
  std::string_view domain = at == std::string_view::npos ? "localhost" : address.substr(at + 1);
  const bool literal = domain.starts_with('[') && domain.ends_with(']');
  if (literal) domain = domain.substr(1, domain.size() - 2);
  constexpr std::string_view special = "()\":\\@[]";
  return !local.empty() && !domain.empty() && local.find_first_of(special) == std::string_view::npos &&
         domain.find_first_of(literal ? "()\"\\@[]" : special) == std::string_view::npos;
}

bool IsNameChar(char c) {
  return !LettersAndDigits({&c, 1}).empty() || c == '-' || c == '.' || c == '_';
}

std::string PercentEncoded(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (IsNameChar(c)) {
      result += c;
    } else {
      result += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
  }
  return result;
}

bool IsBracketed(std::string_view server) {
  return server.starts_with('[') && server.ends_with(']');
}

/// Whether `server` can be a host name, an IPv4 address, or an IPv6 address with or without brackets.
bool IsServerName(std::string_view server) {
  const std::string_view inner = IsBracketed(server) ? server.substr(1, server.size() - 2) : server;
  const bool isIpv6 = inner.find(':') != std::string_view::npos;
  return std::all_of(inner.begin(), inner.end(),
                     [isIpv6](char c) { return IsNameChar(c) || (isIpv6 && (c == ':' || c == '%')); });
}

std::string HostOf(std::string_view server) {
  if (server.find(':') == std::string_view::npos) return std::string(server);
  const std::string_view inner = IsBracketed(server) ? server.substr(1, server.size() - 2) : server;
  return fmt::format("[{}]", Replaced(inner, "%", "%25"));
}

}  // namespace

TlsPlan DecideTls(std::int32_t port, TlsMode mode, std::int32_t implicitTlsPort) {
  if (port == implicitTlsPort) return TlsPlan::FromTheStart;
  if (mode == TlsMode::Required) return TlsPlan::Required;
  return mode == TlsMode::None ? TlsPlan::Never : TlsPlan::IfOffered;
}

std::string CheckMail(const MailServer& server, const Mail& mail) {
  constexpr std::string_view brackets = "<>";
  // The server would take several addresses in one setting for a single address that does not exist.
  constexpr std::string_view notInAddress = "<>,;";
  const std::array<Checked, 4> always{
      {{"the mail server's name", server.server, MaxHostNameBytes, brackets},
       {"the sender's address", mail.sender, MaxAddressBytes, notInAddress},
       {"the recipient's address", mail.recipient, MaxAddressBytes, notInAddress},
       {"the message id", mail.messageId, MaxHostNameBytes, "\"(),;"}}};
  for (const Checked& checked : always) {
    if (std::string fault = FaultOf(checked); !fault.empty()) return fault;
  }
  if (!server.hostName.empty()) {
    const Checked hostName{"the announced host name", server.hostName, MaxHostNameBytes, brackets};
    if (std::string fault = FaultOf(hostName); !fault.empty()) return fault;
  }
  if (!IsAddress(mail.sender)) return mail.sender + " is not a valid sender address";
  if (!IsAddress(mail.recipient)) return mail.recipient + " is not a valid recipient address";
  if (!IsServerName(server.server)) return server.server + " is not a valid mail server name";
  if (server.port < 1 || server.port > MaxSmtpPort)
    return fmt::format("{} is not a valid port; ports go from 1 to {}", server.port, MaxSmtpPort);
  return {};
}

std::string ServerUrl(const MailServer& server, TlsPlan plan) {
  return fmt::format("{}://{}:{}/{}", plan == TlsPlan::FromTheStart ? "smtps" : "smtp", HostOf(server.server),
                     server.port, PercentEncoded(server.hostName));
}

}  // namespace fieldpost
