// What a mail server answers, and what can go wrong while talking to it.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace fieldpost {

/// A mail was not sent. `what()` says why in one line.
class SmtpError : public std::runtime_error {
 public:
  /// `number` is a CURLcode other than CURLE_OK.
  SmtpError(int number, const std::string& description, bool mayRetry = true);

  [[nodiscard]] int Number() const { return number_; }

  /// Whether a further attempt to connect may end better.
  [[nodiscard]] bool MayRetry() const { return mayRetry_; }

 private:
  int number_;
  bool mayRetry_;
};

/// One reply of a server.
struct SmtpReply {
  int code = 0;      ///< 200 to 599; 0 as long as there was none
  std::string text;  ///< code and texts of all its lines, joined to one line that holds no control character
};

/// Puts the lines of a server together to replies (RFC 5321, section 4.2).
class SmtpReplyReader {
 public:
  /// Takes the next line, without its line end. True when it completes a reply. Throws SmtpError when it is
  /// no line of a reply, or when the reply goes on and on.
  bool Add(std::string_view line);

  /// The reply that was completed last.
  [[nodiscard]] const SmtpReply& Last() const { return last_; }

  /// Whether a reply has begun and not ended.
  [[nodiscard]] bool IsWithinReply() const { return lines_ > 0; }

 private:
  SmtpReply last_;
  std::string text_;
  std::size_t lines_ = 0;
};

}  // namespace fieldpost
