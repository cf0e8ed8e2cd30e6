// Supervises greeting, encryption and login, which libcurl performs.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

#include "smtp/MailCheck.h"
#include "smtp/SmtpReply.h"

namespace fieldpost {

/// Follows the dialogue until the login is complete, and refuses two things that libcurl would allow: to
/// continue unencrypted after the server has refused STARTTLS, and to log in with a password that others
/// could read on the network.
class SmtpLogin {
 public:
  /// `hasPassword` tells whether the settings hold a user name and a password. `peerIsThisMachine` is called
  /// after the connection is established.
  SmtpLogin(TlsPlan plan, bool hasPassword, std::function<bool()> peerIsThisMachine);

  /// Notes a line that libcurl has just sent: a command or a part of a login.
  void OnCommand(std::string_view line);

  /// Notes a line of the server, given without its line end, before libcurl acts on it. Throws SmtpError when
  /// the connection must be closed instead.
  void OnReplyLine(std::string_view line);

  /// The server's latest complete reply; its code is 0 when there is none yet.
  [[nodiscard]] const SmtpReply& LastReply() const { return lastReply_; }

  /// The number of lines that the server has sent.
  [[nodiscard]] std::size_t LineCount() const { return lineCount_; }

  /// The number of complete replies that the server has sent.
  [[nodiscard]] std::size_t ReplyCount() const { return replyCount_; }

  /// Whether the server's latest reply agreed to STARTTLS.
  [[nodiscard]] bool HasAgreedToTls() const { return stage_ == Stage::StartTls && encrypted_; }

  /// Whether AUTH was sent.
  [[nodiscard]] bool HasBegunLogin() const { return stage_ == Stage::Auth; }

  /// Whether MAIL may announce the size of the message (RFC 1870).
  [[nodiscard]] bool OffersSize() const { return offersSize_; }

 private:
  enum class Stage { Greeting, Ehlo, StartTls, Auth };

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
  SmtpReply lastReply_;
};

}  // namespace fieldpost
