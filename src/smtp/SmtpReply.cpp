#include "smtp/SmtpReply.h"

#include <curl/curl.h>

#include <algorithm>
#include <utility>

#include "common/Limits.h"
#include "common/Text.h"
#include "common/Utf8.h"

namespace fieldpost {
namespace {

constexpr std::size_t LongestText = 500;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

bool IsReplyLine(std::string_view line) {
  if (line.size() < 3 || line[0] < '2' || line[0] > '5' || !IsDigit(line[1]) || !IsDigit(line[2]))
    return false;
  return line.size() == 3 || line[3] == ' ' || line[3] == '-';
}

std::string Printable(std::string_view text) {
  return EscapeControls(WellFormedUtf8(text.substr(0, LongestText)));
}

}  // namespace

SmtpError::SmtpError(int number, const std::string& description, bool mayRetry)
    : std::runtime_error(description), number_(number), mayRetry_(mayRetry) {}

std::optional<SmtpReply> SmtpReplyReader::Add(std::string_view line) {
  if (!IsReplyLine(line)) {
    throw SmtpError(CURLE_WEIRD_SERVER_REPLY,
                    "the server did not reply as a mail server does: \"" + Printable(line) + "\"");
  }
  if (++lines_ > MaxReplyLines) throw SmtpError(CURLE_WEIRD_SERVER_REPLY, "the server's reply is too long");
  if (lines_ == 1) text_.clear();
  if (line.size() > 4 && text_.size() < LongestText) text_.append(" ").append(line.substr(4, LongestText));
  if (line.size() > 3 && line[3] == '-') return std::nullopt;
  lines_ = 0;
  // Where the lines of a reply have different codes, the last line's code counts.
  text_.insert(0, line.substr(0, 3));
  const int code = (line[0] - '0') * 100 + (line[1] - '0') * 10 + (line[2] - '0');
  return SmtpReply{.code = code, .text = Printable(text_)};
}

}  // namespace fieldpost
