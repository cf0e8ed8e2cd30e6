#include "smtp/MailCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "common/Limits.h"
#include "common/Text.h"
#include "smtp/MailText.h"

namespace fieldpost {
namespace {

/// A text of the settings with what it must be.
struct Checked {
  std::string_view title;
  std::string_view text;
  std::size_t longest;
  std::string_view forbidden;  ///< beside control characters, blanks and what is not ASCII
};

bool IsPlain(char c) {
  return c > ' ' && c <= '~';
}

std::string FaultOf(const Checked& checked) {
  if (checked.text.empty()) return fmt::format("{} is missing", checked.title);
  if (checked.text.size() > checked.longest) return fmt::format("{} is too long", checked.title);
  const bool plain = std::all_of(checked.text.begin(), checked.text.end(), IsPlain);
  if (plain && checked.text.find_first_of(checked.forbidden) == std::string_view::npos) return {};
  return fmt::format("{} holds a character that does not belong there: {}", checked.title,
                     EscapeControls(WellFormedUtf8(checked.text)));
}

/// Whether an address can stand in a header as it is: quotes, comments and groups would give it another
/// meaning there. A name alone belongs to the server's own machine.
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

std::string Encoded(std::string_view text) {
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

/// Names, IPv4 addresses, and IPv6 addresses with or without brackets.
bool IsServerName(std::string_view server) {
  const std::string_view inner = IsBracketed(server) ? server.substr(1, server.size() - 2) : server;
  const bool six = inner.find(':') != std::string_view::npos;
  return std::all_of(inner.begin(), inner.end(),
                     [six](char c) { return IsNameChar(c) || (six && (c == ':' || c == '%')); });
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
  // Several addresses in one setting would reach the server as one that does not exist.
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
  if (!IsAddress(mail.sender)) return "the sender's address is none: " + mail.sender;
  if (!IsAddress(mail.recipient)) return "the recipient's address is none: " + mail.recipient;
  if (!IsServerName(server.server)) return "this is no name of a mail server: " + server.server;
  if (server.port < 1 || server.port > 65535) return fmt::format("this is no port: {}", server.port);
  return {};
}

std::string ServerUrl(const MailServer& server, TlsPlan plan) {
  return fmt::format("{}://{}:{}/{}", plan == TlsPlan::FromTheStart ? "smtps" : "smtp", HostOf(server.server),
                     server.port, Encoded(server.hostName));
}

}  // namespace fieldpost
