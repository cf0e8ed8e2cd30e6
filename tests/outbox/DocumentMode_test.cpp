#include "outbox/DocumentMode.h"

#include <gtest/gtest.h>

#include <string>

namespace fieldpost {
namespace {

TEST(MarkedAsSent, ChangesOnlyTheModeOfADocumentOfThisProgram) {
  const std::string head = "<?xml version=\"1.0\"?>\r\n<";
  const struct {
    const char* name;
    std::string document;
    std::optional<std::string> marked;
  } rows[] = {
      {"as it was written", head + "FLFILE Mode=\"Not Sent\" a=\"1\"><b  x='1'/></FLFILE>\r\n",
       head + "FLFILE Mode=\"Sent\" a=\"1\"><b  x='1'/></FLFILE>\r\n"},
      {"as it was written, but broken", head + "FLFILE Mode=\"Not Sent\"><b></FLFILE>\r\n", std::nullopt},
      {"cut off after its name", head + "FLFILE", std::nullopt},
      {"with another attribute first", head + "FLFILE a=\"1\" Mode=\"Not Sent\"/>",
       "<?xml version=\"1.0\"?>\n<FLFILE a=\"1\" Mode=\"Sent\"/>\n"},
      {"without a mode", head + "FLFILE>x</FLFILE>",
       "<?xml version=\"1.0\"?>\n<FLFILE Mode=\"Sent\">x</FLFILE>\n"},
      {"without a declaration", "<a Mode='Not Sent'/>", "<?xml version=\"1.0\"?>\n<a Mode=\"Sent\"/>\n"},
      {"not XML", "not sent", std::nullopt},
  };
  for (const auto& row : rows) EXPECT_EQ(MarkedAsSent(row.document), row.marked) << row.name;
}

/// A combined document may contain more names than one file may have.
TEST(MarkedAsSent, MarksADocumentWithManyNames) {
  std::string document = "<?xml version=\"1.0\"?>\r\n<FLFILES Mode=\"Not Sent\">";
  for (int i = 0; i < 45'000; ++i) document += "<n" + std::to_string(i) + "/>";
  document += "</FLFILES>\r\n";
  EXPECT_TRUE(MarkedAsSent(document).has_value());
}

/// The root element of a file may have the largest number of attributes, to which the mode is added.
TEST(MarkedAsSent, MarksARootWithTheLargestNumberOfAttributes) {
  std::string document = "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\"";
  for (int i = 0; i < 256; ++i) document += " a" + std::to_string(i) + "=\"\"";
  EXPECT_TRUE(MarkedAsSent(document + "/>\r\n").has_value());
}

}  // namespace
}  // namespace fieldpost
