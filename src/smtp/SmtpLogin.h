// Watches greeting, encryption and login, which libcurl speaks with the server.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "smtp/MailCheck.h"
#include "smtp/SmtpReply.h"

namespace fieldpost {

/// Sees every command just after libcurl has sent it and every line of the server before libcurl acts on it.
/// It breaks off what libcurl would let pass: a refused STARTTLS, after which it goes on unencrypted, and a
/// login whose password could be read on its way.
class SmtpLogin {
 public:
  /// `peerIsThisMachine` is asked when the connection stands.
  SmtpLogin(TlsPlan plan, bool hasPassword, std::function<bool()> peerIsThisMachine);

  /// A command was sent, or another line of the client.
  void SawCommand(std::string_view line);

  /// A line of the server has come. False when the connection must end; Fault() then says why. Never throws.
  bool SawLine(std::string_view line);

  [[nodiscard]] const std::optional<SmtpError>& Fault() const { return fault_; }

  /// The reply that came last; its code is 0 when there was none.
  [[nodiscard]] const SmtpReply& LastReply() const { return replies_.Last(); }

  /// How many lines have come.
  [[nodiscard]] std::size_t LineCount() const { return lineCount_; }

  /// How many whole replies have come.
  [[nodiscard]] std::size_t ReplyCount() const { return replyCount_; }

  /// Whether the server has agreed to encryption, and nothing was said to it since.
  [[nodiscard]] bool HasConsentedToTls() const { return stage_ == Stage::StartTls && encrypted_; }

  /// Whether a login was begun.
  [[nodiscard]] bool HasBegunLogin() const { return stage_ == Stage::Auth; }

  /// Whether the server takes the size of a message with its sender (RFC 1870).
  [[nodiscard]] bool OffersSize() const { return offersSize_; }

 private:
  enum class Stage { Greeting, Ehlo, StartTls, Auth };

  void Check(std::string_view line);
  void NoteExtension(std::string_view line);
  void CheckReply(const SmtpReply& reply);
  [[nodiscard]] bool MaySendPassword() const;

  TlsPlan plan_;
  bool hasPassword_;
  std::function<bool()> peerIsThisMachine_;
  bool encrypted_;
  Stage stage_ = Stage::Greeting;
  bool offersStartTls_ = false;
  bool offersLogin_ = false;
  bool offersSize_ = false;
  std::size_t lineCount_ = 0;
  std::size_t replyCount_ = 0;
  SmtpReplyReader replies_;
  std::optional<SmtpError> fault_;
};

}  // namespace fieldpost
