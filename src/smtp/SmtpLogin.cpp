#include "smtp/SmtpLogin.h"

#include <curl/curl.h>

#include <optional>
#include <utility>

#include "common/Text.h"

namespace fieldpost {
namespace {

std::string_view FirstWord(std::string_view text) {
  return text.substr(0, text.find_first_of(" =\r\n"));
}

}  // namespace

SmtpLogin::SmtpLogin(TlsPlan plan, bool hasPassword, std::function<bool()> peerIsThisMachine)
    : plan_(plan),
      hasPassword_(hasPassword),
      peerIsThisMachine_(std::move(peerIsThisMachine)),
      encrypted_(plan == TlsPlan::FromTheStart) {}

void SmtpLogin::OnCommand(std::string_view line) {
  // The lines after AUTH are credentials in base64, which may look like a command.
  if (stage_ == Stage::Auth) return;
  const std::string_view verb = FirstWord(line);
  if (verb == "EHLO" || verb == "HELO") {
    stage_ = Stage::Ehlo;
    offersStartTls_ = offersLogin_ = offersSize_ = false;
  } else if (verb == "STARTTLS") {
    stage_ = Stage::StartTls;
  } else if (verb == "AUTH") {
    stage_ = Stage::Auth;
  }
}

void SmtpLogin::OnReplyLine(std::string_view line) {
  ++lineCount_;
  const std::optional<SmtpReply> reply = replies_.Add(line);
  if (stage_ == Stage::Ehlo && line.size() > 4) NoteExtension(line.substr(4));
  if (!reply) return;
  ++replyCount_;
  lastReply_ = *reply;
  CheckReply(*reply);
}

void SmtpLogin::NoteExtension(std::string_view line) {
  const std::string_view keyword = FirstWord(line);
  offersStartTls_ = offersStartTls_ || EqualNoCase(keyword, "STARTTLS");
  offersLogin_ = offersLogin_ || EqualNoCase(keyword, "AUTH");
  offersSize_ = offersSize_ || EqualNoCase(keyword, "SIZE");
}

void SmtpLogin::CheckReply(const SmtpReply& reply) {
  const bool positive = reply.code / 100 == 2;
  if (stage_ == Stage::StartTls) {
    if (!positive) {
      throw SmtpError(CURLE_USE_SSL_FAILED,
                      "the server offered encryption and then refused it: \"" + reply.text + "\"");
    }
    encrypted_ = true;
    return;
  }
  const bool tlsFollows = offersStartTls_ && plan_ != TlsPlan::Never;
  const bool loginFollows = stage_ == Stage::Ehlo && positive && offersLogin_ && (encrypted_ || !tlsFollows);
  // libcurl sends a password only after a 334, so this check holds even when AUTH was not offered.
  const bool passwordFollows = stage_ == Stage::Auth && reply.code == 334;
  if ((loginFollows || passwordFollows) && !MaySendPassword()) {
    throw SmtpError(
        CURLE_USE_SSL_FAILED,
        "the server offers no encryption, and a password is not sent unencrypted to another machine", false);
  }
}

bool SmtpLogin::MaySendPassword() const {
  return !hasPassword_ || encrypted_ || plan_ == TlsPlan::Never || peerIsThisMachine_();
}

}  // namespace fieldpost
