#include "common/DocumentMode.h"

#include <gtest/gtest.h>

namespace fieldpost {
namespace {

TEST(MarkedAsSent, ChangesTheModeAloneOfADocumentOfTheProgramsMaking) {
  const std::string head = "<?xml version=\"1.0\"?>\r\n<";
  const struct {
    const char* name;
    std::string document;
    std::optional<std::string> marked;
  } rows[] = {
      {"as it was written", head + "FLFILE Mode=\"Not Sent\" a=\"1\"><b  x='1'/></FLFILE>\r\n",
       head + "FLFILE Mode=\"Sent\" a=\"1\"><b  x='1'/></FLFILE>\r\n"},
      {"as it was written, but broken", head + "FLFILE Mode=\"Not Sent\"><b></FLFILE>\r\n", std::nullopt},
      {"with nothing behind its name", head + "FLFILE", std::nullopt},
      {"with another attribute first", head + "FLFILE a=\"1\" Mode=\"Not Sent\"/>",
       "<?xml version=\"1.0\"?>\n<FLFILE a=\"1\" Mode=\"Sent\"/>\n"},
      {"without a mode", head + "FLFILE>x</FLFILE>",
       "<?xml version=\"1.0\"?>\n<FLFILE Mode=\"Sent\">x</FLFILE>\n"},
      {"without a declaration", "<a Mode='Not Sent'/>", "<?xml version=\"1.0\"?>\n<a Mode=\"Sent\"/>\n"},
      {"of no XML", "not sent", std::nullopt},
  };
  for (const auto& row : rows) EXPECT_EQ(MarkedAsSent(row.document), row.marked) << row.name;
}

}  // namespace
}  // namespace fieldpost
