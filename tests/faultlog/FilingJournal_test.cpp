#include "faultlog/FilingJournal.h"

#include <gtest/gtest.h>

#include <vector>

#include "common/SealedFields.h"

namespace fieldpost {
namespace {

/// A journal of these fields, sealed as if it were whole.
std::optional<FilingJournal> JournalOf(const std::vector<std::string>& fields, std::size_t count) {
  SealedFieldWriter writer("Fieldpost filing journal 3");
  for (std::size_t i = 0; i < count; ++i) writer.Add(fields[i]);
  return FilingJournal::FromBytes(writer.Finish());
}

TEST(FilingJournal, HasAllItsFieldsOrIsNone) {
  const std::string hash = ToHex(HashContent("content"));
  const std::vector<std::string> fields{"/p/d.xml", "1",          "/p/old.xml",  "/p/old.xml.1.displaced",
                                        "2",        "/a/.1",      "/a/A/1.xml",  hash,
                                        "/a/.2",    "/a/A/2.xml", hash,          "1",
                                        "/l/a.xml", hash,         "one too many"};
  const std::size_t whole = fields.size() - 1;
  const std::optional<FilingJournal> journal = JournalOf(fields, whole);
  ASSERT_TRUE(journal);
  EXPECT_EQ(journal->document, "/p/d.xml");
  EXPECT_EQ(journal->displaced->to, "/p/old.xml.1.displaced");
  EXPECT_EQ(journal->staged.size(), 2U);
  EXPECT_EQ(journal->sources.front().content, HashContent("content"));
  for (std::size_t count = 0; count <= fields.size(); ++count) {
    EXPECT_EQ(JournalOf(fields, count).has_value(), count == whole) << count << " fields";
  }
}

}  // namespace
}  // namespace fieldpost
