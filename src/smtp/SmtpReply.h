// Replies of a mail server, and the error that ends the sending of a mail.
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace fieldpost {

/// A mail was not sent. `what()` is one line, in UTF-8 without control characters, that says why.
class SmtpError : public std::runtime_error {
 public:
  /// `number` is a CURLcode other than CURLE_OK. `mayRetry` tells whether another attempt to connect may
  /// succeed.
  SmtpError(int number, const std::string& description, bool mayRetry = true);

  /// The CURLcode of the failure.
  [[nodiscard]] int Number() const { return number_; }

  /// Whether another attempt to connect may succeed.
  [[nodiscard]] bool MayRetry() const { return mayRetry_; }

 private:
  int number_;
  bool mayRetry_;
};

/// A reply of a mail server (RFC 5321, section 4.2).
struct SmtpReply {
  int code = 0;      ///< 200 to 599; 0 when the server has not replied yet
  std::string text;  ///< the code, then the texts of all lines, as one line without control characters
};

/// Assembles replies from the lines of a mail server (RFC 5321, section 4.2).
class SmtpReplyReader {
 public:
  /// Adds a line, given without its line end. Returns the reply that the line completes, or nothing while
  /// more lines follow. Throws SmtpError when the line is not part of a reply, or when the reply has too many
  /// lines.
  [[nodiscard]] std::optional<SmtpReply> Add(std::string_view line);

  /// Whether a reply has begun and is not complete.
  [[nodiscard]] bool IsWithinReply() const { return lines_ > 0; }

 private:
  std::string text_;
  std::size_t lines_ = 0;
};

}  // namespace fieldpost
