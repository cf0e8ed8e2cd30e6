// Objects that are used again: nothing of the first use is left in the second.
#include <gmock/gmock.h>

#include "common/SealedFields.h"
#include "faultlog/BuildXML.h"
#include "faultlog/FaultloggerFile.h"
#include "faultlog/FilingJournal.h"
#include "support/TestSite.h"

namespace fieldpost {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(FaultloggerFile, HoldsWhatWasLoadedLast) {
  FaultloggerFile file;
  ASSERT_TRUE(file.Load(test::FaultlogXml("FIRST")));
  EXPECT_THAT(file.ContainerXml(), HasSubstr("FIRST"));
  ASSERT_TRUE(file.Load(test::FaultlogXml("SECOND")));
  EXPECT_THAT(file.ContainerXml(), HasSubstr("SECOND"));
  EXPECT_THAT(file.Xml(), Not(HasSubstr("FIRST")));
}

TEST(FaultloggerFile, ShowsTheNumbersThatMergingGaveIt) {
  FaultloggerFile file;
  ArchivedFile archived;
  ASSERT_TRUE(file.Load(test::FaultlogXml("A")));
  ASSERT_TRUE(archived.Load(test::FaultlogXml("A", "FFF")));
  EXPECT_THAT(file.ContainerXml(), HasSubstr("No=\"1\""));
  EXPECT_TRUE(archived.MergeIntoArchived(file));
  EXPECT_THAT(file.ContainerXml(), HasSubstr("No=\"4\""));
}

TEST(FaultloggerFile, KeepsTheRootThatItsContainerLiesIn) {
  const std::string container =
      "<FLFILE><PRODCODE>A</PRODCODE><FAULTLOG><MODEIND>F</MODEIND></FAULTLOG></FLFILE>";
  for (const std::string& root : {container, "<R>" + container + "</R>"}) {
    FaultloggerFile file;
    ASSERT_TRUE(file.Load(root));
    EXPECT_EQ(file.Xml(), "<?xml version=\"1.0\"?>\n" + root + "\n");
    EXPECT_EQ(file.ContainerXml(), container);
  }
}

TEST(BuildXML, CountsAnewWhenItIsOpenedAnew) {
  FaultloggerFile file;
  ASSERT_TRUE(file.Load(test::FaultlogXml("A")));
  BuildXML builder;
  builder.OpenXML("T");
  builder.InsertXML(file);
  EXPECT_EQ(builder.ElementCount(), 1U);
  builder.OpenXML("T");
  EXPECT_EQ(builder.ElementCount(), 0U);
  EXPECT_EQ(builder.GetXMLLength(), 3U);
}

TEST(FilingJournal, TakesNoRecordThatIsNotWhole) {
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
    EXPECT_TRUE(!journal || !journal->displaced) << "a displaced document without its new name";
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
