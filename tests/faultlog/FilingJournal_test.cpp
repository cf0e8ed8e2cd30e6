#include "faultlog/FilingJournal.h"

#include <gtest/gtest.h>

#include <vector>

#include "common/PathText.h"
#include "common/SealedFields.h"

namespace fieldpost {
namespace {

TEST(FilingJournal, IsReadAsItWasWritten) {
  const FilingJournal journal{
      .superseded = FilingJournal::Superseded{.from = "/p/d.xml", .to = "/p/d.xml.1.displaced"},
      .staged = {{.temporary = "/a/.1",
                  .target = PathFromUtf8("/a/line\nbreak 3:x"),
                  .content = HashContent("1")},
                 {.temporary = "", .target = "", .content = {}}},
      .sources = {{.path = "/l/a.xml", .content = HashContent("a")}},
      .document = "/p/d.xml"};
  EXPECT_EQ(FilingJournal::FromBytes(journal.ToBytes()), journal);
  EXPECT_EQ(FilingJournal::FromBytes(FilingJournal().ToBytes()), FilingJournal());
}

TEST(FilingJournal, IsNotReadWhenAnyByteIsMissingOrChanged) {
  const std::string bytes = FilingJournal{.superseded = std::nullopt,
                                          .staged = {{.temporary = "/a/.1", .target = "/a/1", .content = {}}},
                                          .sources = {{.path = "/l/a.xml", .content = HashContent("a")}},
                                          .document = "/p/d.xml"}
                                .ToBytes();
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_EQ(FilingJournal::FromBytes(bytes.substr(0, length)), std::nullopt) << "cut at " << length;
    std::string changed = bytes;
    changed[length] = static_cast<char>(changed[length] ^ 1);
    EXPECT_EQ(FilingJournal::FromBytes(changed), std::nullopt) << "changed at " << length;
  }
  EXPECT_EQ(FilingJournal::FromBytes(bytes + "x"), std::nullopt);
}

/// A journal of these fields, sealed as if it were whole.
std::optional<FilingJournal> JournalOf(const std::vector<std::string>& fields, std::size_t count) {
  SealedFieldWriter writer("Fieldpost filing journal 3");
  for (std::size_t i = 0; i < count; ++i) writer.Add(fields[i]);
  return FilingJournal::FromBytes(writer.Finish());
}

TEST(FilingJournal, IsNotReadWithoutExactlyItsFields) {
  const std::string hash = ToHex(HashContent("content"));
  const std::vector<std::string> fields{"/p/d.xml", "1",          "/p/old.xml",  "/p/old.xml.1.displaced",
                                        "2",        "/a/.1",      "/a/A/1.xml",  hash,
                                        "/a/.2",    "/a/A/2.xml", hash,          "1",
                                        "/l/a.xml", hash,         "one too many"};
  const std::size_t whole = fields.size() - 1;
  const std::optional<FilingJournal> journal = JournalOf(fields, whole);
  ASSERT_TRUE(journal);
  EXPECT_EQ(journal->document, "/p/d.xml");
  EXPECT_EQ(journal->superseded->to, "/p/old.xml.1.displaced");
  EXPECT_EQ(journal->staged.size(), 2U);
  EXPECT_EQ(journal->sources.front().content, HashContent("content"));
  for (std::size_t count = 0; count <= fields.size(); ++count) {
    EXPECT_EQ(JournalOf(fields, count).has_value(), count == whole) << count << " fields";
  }
}

TEST(FilingJournal, IgnoresAnIncompleteRecord) {
  const ContentHash hash = HashContent("x");
  const auto beginning = [] {
    SealedFieldWriter writer("Fieldpost filing journal 3");
    writer.AddPath("/p/d.xml");
    return writer;
  };
  {
    SealedFieldWriter writer = beginning();
    writer.AddNumber(1);
    writer.AddPath("/p/from");
    const std::optional<FilingJournal> journal = FilingJournal::FromBytes(writer.Finish());
    EXPECT_TRUE(!journal || !journal->superseded) << "a superseded document without its new name";
  }
  for (const int fields : {1, 2}) {
    SealedFieldWriter writer = beginning();
    writer.AddNumber(0);
    writer.AddNumber(1);
    writer.AddPath("/a/.1");
    if (fields > 1) writer.AddPath("/a/1");
    const std::optional<FilingJournal> journal = FilingJournal::FromBytes(writer.Finish());
    EXPECT_TRUE(!journal || journal->staged.empty()) << "a staged file with " << fields << " fields";
  }
  {
    SealedFieldWriter writer = beginning();
    writer.AddNumber(0);
    writer.AddNumber(0);
    writer.AddNumber(1);
    writer.AddPath("/l/a.xml");
    const std::optional<FilingJournal> journal = FilingJournal::FromBytes(writer.Finish());
    EXPECT_TRUE(!journal || journal->sources.empty()) << "a source without its hash";
  }
  SealedFieldWriter writer = beginning();
  writer.AddNumber(0);
  writer.AddNumber(0);
  writer.AddNumber(1);
  writer.AddPath("/l/a.xml");
  writer.AddHash(hash);
  const std::optional<FilingJournal> journal = FilingJournal::FromBytes(writer.Finish());
  ASSERT_TRUE(journal);
  EXPECT_EQ(journal->sources.size(), 1U);
}

}  // namespace
}  // namespace fieldpost
