#include "smtp/SmtpReply.h"

#include <curl/curl.h>

#include <algorithm>
#include <utility>

#include "common/Limits.h"
#include "common/Text.h"
#include "smtp/MailText.h"

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

bool SmtpReplyReader::Add(std::string_view line) {
  if (!IsReplyLine(line)) {
    throw SmtpError(CURLE_WEIRD_SERVER_REPLY, "this is no answer of a mail server: " + Printable(line));
  }
  if (++lines_ > MaxReplyLines) throw SmtpError(CURLE_WEIRD_SERVER_REPLY, "the server's answer has no end");
  if (lines_ == 1) text_.clear();
  if (line.size() > 4 && text_.size() < LongestText) text_.append(" ").append(line.substr(4, LongestText));
  if (line.size() > 3 && line[3] == '-') return false;
  // Lines that do not agree on their code are taken at the last one's word.
  text_.insert(0, line.substr(0, 3));
  last_ = {.code = (line[0] - '0') * 100 + (line[1] - '0') * 10 + (line[2] - '0'), .text = Printable(text_)};
  lines_ = 0;
  return true;
}

}  // namespace fieldpost
