#include "environment/MailSettings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

namespace fs = std::filesystem;

/// Returns settings with a different value in each member.
MailSettings Different() {
  MailSettings settings;
  for (const MailSettingsField& field : MailSettingsFields) {
    settings.*field.member = "value of " + std::string(field.name);
  }
  return settings;
}

class MailSettingsStoreTest : public testing::Test {
 protected:
  TempFolder folder_;
  DiskFileSystem files_;
  MailSettingsStore store_{files_, folder_.Path()};
  fs::path file_ = folder_.Path() / "Options.ini";
};

TEST(MailSettingsFields, ContainEachMemberOnce) {
  MailSettings settings = Different();
  std::set<std::string> values;
  for (const MailSettingsField& field : MailSettingsFields) {
    EXPECT_EQ(settings.*field.member, "value of " + std::string(field.name));
    values.insert(settings.*field.member);
  }
  EXPECT_EQ(values.size(), MailSettingsFields.size());
  EXPECT_EQ(sizeof(MailSettings), MailSettingsFields.size() * sizeof(std::string)) << "no member is missing";
}

TEST_F(MailSettingsStoreTest, LoadsEmptySettingsAndCreatesNoFileWhenNothingIsStored) {
  EXPECT_EQ(store_.Load(), MailSettings());
  EXPECT_EQ(store_.Problem(), "");
  EXPECT_EQ(store_.Save(MailSettings()), "");
  EXPECT_FALSE(fs::exists(file_));
}

TEST_F(MailSettingsStoreTest, LoadsEverySettingThatWasSaved) {
  ASSERT_EQ(store_.Save(Different()), "");
  EXPECT_EQ(MailSettingsStore(files_, folder_.Path()).Load(), Different());
}

TEST_F(MailSettingsStoreTest, LoadsUnusualValuesUnchanged) {
  for (const std::string value :
       {" blanks ", "\"quoted\"", "Größe 中", "a=b;c", "\xE4 not UTF-8", "\t", "C:\\x\\"}) {
    MailSettings settings = Different();
    settings.MailPassword = value;
    ASSERT_EQ(store_.Save(settings), "");
    EXPECT_EQ(store_.Load(), settings) << value;
  }
}

TEST_F(MailSettingsStoreTest, LoadsALongValueCompletely) {
  MailSettings settings;
  settings.ArchiveFolder = "/" + std::string(1U << 20U, 'x') + "/";
  ASSERT_EQ(store_.Save(settings), "");
  EXPECT_EQ(store_.Load(), settings);
}

TEST_F(MailSettingsStoreTest, WritesOneSectionWithTheNamesOfTheSettings) {
  MailSettings settings;
  settings.SMTPServer = "mail.example";
  settings.PartnerID = "AB12";
  settings.TlsMode = "required";
  ASSERT_EQ(store_.Save(settings), "");
  EXPECT_EQ(ReadFile(file_), "[Mail Options]\nSMTPServer=mail.example\nPartnerID=AB12\nTlsMode=required\n");
}

TEST_F(MailSettingsStoreTest, ChangesOnlyLinesWithNewValues) {
  folder_.Write("Options.ini",
                "; by hand\r\n[Other]\r\nx=1\r\n[mail options]\r\nsmtpserver = old\r\nTryCount=3\r\nOwn=1");
  MailSettings settings = store_.Load();
  EXPECT_EQ(settings.SMTPServer, "old");
  settings.SMTPServer = "new";
  settings.TryCount = "";
  ASSERT_EQ(store_.Save(settings), "");
  EXPECT_EQ(ReadFile(file_),
            "; by hand\r\n[Other]\r\nx=1\r\n[mail options]\r\nsmtpserver = new\r\nTryCount=\r\nOwn=1");
  const FileStamp before = files_.Stamp(file_);
  ASSERT_EQ(store_.Save(settings), "");
  EXPECT_EQ(files_.Stamp(file_), before) << "nothing changed";
}

TEST_F(MailSettingsStoreTest, KeepsThePasswordFromOtherUsers) {
  MailSettings settings;
  settings.MailPassword = "secret";
  const fs::perms mine = fs::perms::owner_read | fs::perms::owner_write;
  ASSERT_EQ(store_.Save(settings), "");
  EXPECT_EQ(fs::status(file_).permissions(), mine);
  fs::permissions(file_, fs::perms::others_read, fs::perm_options::add);
  settings.MailPassword = "changed";
  ASSERT_EQ(store_.Save(settings), "");
  EXPECT_EQ(fs::status(file_).permissions(), mine);
}

TEST_F(MailSettingsStoreTest, SavesNothingWhenAValueContainsALineBreak) {
  ASSERT_EQ(store_.Save(Different()), "");
  const std::string before = ReadFile(file_);
  MailSettings settings;
  settings.Organization = "two\nlines";
  EXPECT_NE(store_.Save(settings), "");
  EXPECT_EQ(ReadFile(file_), before);
}

TEST_F(MailSettingsStoreTest, IgnoresTheCaseOfTheFilename) {
  folder_.Write("OPTIONS.INI", "[Mail Options]\nTimeout=11\n");
  MailSettings settings = store_.Load();
  EXPECT_EQ(settings.Timeout, "11");
  settings.Timeout = "12";
  ASSERT_EQ(store_.Save(settings), "");
  EXPECT_THAT(Names(folder_.Path()), testing::ElementsAre("OPTIONS.INI"));
}

TEST_F(MailSettingsStoreTest, DoesNotReplaceAnUnreadableFile) {
  folder_.Folder("Options.ini/inside");
  EXPECT_EQ(store_.Load(), MailSettings());
  EXPECT_THAT(store_.Problem(), testing::HasSubstr("Options.ini"));
  EXPECT_NE(store_.Save(Different()), "");
  EXPECT_TRUE(fs::is_directory(file_ / "inside"));
}

TEST_F(MailSettingsStoreTest, ReportsAMissingFolder) {
  MailSettingsStore store(files_, folder_.Path() / "no");
  EXPECT_EQ(store.Load(), MailSettings());
  EXPECT_NE(store.Save(Different()), "");
}

}  // namespace
}  // namespace fieldpost::test
