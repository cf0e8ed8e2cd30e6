// Replies of a mail server. An input consists of its lines.
#include <algorithm>
#include <optional>
#include <string>

#include "common/Text.h"
#include "fuzz/Fuzz.h"
#include "smtp/SmtpReply.h"

namespace fieldpost::fuzz {
namespace {

constexpr std::size_t MostLines = 1000;
constexpr std::size_t LongestText = 4 * 1100;  // each byte that is kept may become four

void CheckReply(const SmtpReply& reply) {
  Expect(reply.code >= 200 && reply.code <= 599, "a code is 200 to 599");
  Expect(reply.text.starts_with(std::to_string(reply.code)), "the text begins with the code");
  Expect(std::none_of(reply.text.begin(), reply.text.end(), IsControl), "the text has no control character");
  Expect(reply.text.size() <= LongestText, "the text has a limited length");
}

void CheckFault(const SmtpError& fault) {
  const std::string text = fault.what();
  Expect(fault.Number() != 0 && !text.empty(), "a fault has a number and a text");
  Expect(std::none_of(text.begin(), text.end(), IsControl), "a fault's text has no control character");
  Expect(text.size() <= LongestText, "a fault's text has a limited length");
}

}  // namespace
}  // namespace fieldpost::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace fieldpost;
  using namespace fieldpost::fuzz;
  SmtpReplyReader reader;
  for (const std::string_view line : Lines(TextOf(data, size), MostLines)) {
    try {
      const std::optional<SmtpReply> reply = reader.Add(line);
      Expect(reply.has_value() != reader.IsWithinReply(), "a reply is complete or goes on");
      if (reply) CheckReply(*reply);
    } catch (const SmtpError& fault) {
      CheckFault(fault);
      reader = SmtpReplyReader();
    }
  }
  return 0;
}
