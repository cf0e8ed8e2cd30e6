#include "environment/MailSettings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

namespace fs = std::filesystem;

/// Settings with a different value in each property.
MailSettings Different() {
  MailSettings settings;
  for (const MailSettingsField& field : MailSettingsFields) {
    settings.*field.member = "value of " + std::string(field.name);
  }
  return settings;
}

class MailSettingsTest : public testing::Test {
 protected:
  TempFolder folder_;
  DiskFileSystem files_;
  MailSettingsStore store_{files_, folder_.Path()};
  fs::path file_ = folder_.Path() / "Options.ini";
};

TEST_F(MailSettingsTest, TheTableNamesEachPropertyOnce) {
  MailSettings settings = Different();
  std::set<std::string> values;
  for (const MailSettingsField& field : MailSettingsFields) {
    EXPECT_EQ(settings.*field.member, "value of " + std::string(field.name));
    values.insert(settings.*field.member);
  }
  EXPECT_EQ(values.size(), MailSettingsFields.size());
  EXPECT_EQ(sizeof(MailSettings), MailSettingsFields.size() * sizeof(std::string))
      << "no property is left out";
}

TEST_F(MailSettingsTest, NothingStoredIsAllEmptyAndMakesNoFile) {
  EXPECT_EQ(store_.Load(), MailSettings());
  EXPECT_EQ(store_.Problem(), "");
  EXPECT_TRUE(store_.Save(MailSettings()));
  EXPECT_FALSE(fs::exists(file_));
}

TEST_F(MailSettingsTest, EachPropertyComesBack) {
  ASSERT_TRUE(store_.Save(Different()));
  EXPECT_EQ(MailSettingsStore(files_, folder_.Path()).Load(), Different());
}

TEST_F(MailSettingsTest, OddValuesComeBack) {
  for (const std::string value :
       {" blanks ", "\"quoted\"", "Größe 中", "a=b;c", "\xE4 not UTF-8", "\t", "C:\\x\\"}) {
    MailSettings settings = Different();
    settings.MailPassword = value;
    ASSERT_TRUE(store_.Save(settings));
    EXPECT_EQ(store_.Load(), settings) << value;
  }
}

TEST_F(MailSettingsTest, ALongValueComesBackWhole) {
  MailSettings settings;
  settings.ArchiveFolder = "/" + std::string(1U << 20U, 'x') + "/";
  ASSERT_TRUE(store_.Save(settings));
  EXPECT_EQ(store_.Load(), settings);
}

TEST_F(MailSettingsTest, TheFileHasOneSectionWithTheNamesOfTheProperties) {
  MailSettings settings;
  settings.SMTPServer = "mail.example";
  settings.PartnerID = "AB12";
  settings.TlsMode = "required";
  ASSERT_TRUE(store_.Save(settings));
  EXPECT_EQ(ReadFile(file_), "[Mail Options]\nSMTPServer=mail.example\nPartnerID=AB12\nTlsMode=required\n");
}

TEST_F(MailSettingsTest, OnlyChangedLinesAreTouched) {
  folder_.Write("Options.ini",
                "; by hand\r\n[Other]\r\nx=1\r\n[mail options]\r\nsmtpserver = old\r\nTryCount=3\r\nOwn=1");
  MailSettings settings = store_.Load();
  EXPECT_EQ(settings.SMTPServer, "old");
  settings.SMTPServer = "new";
  settings.TryCount = "";
  ASSERT_TRUE(store_.Save(settings));
  EXPECT_EQ(ReadFile(file_),
            "; by hand\r\n[Other]\r\nx=1\r\n[mail options]\r\nsmtpserver = new\r\nTryCount=\r\nOwn=1");
  const FileStamp before = files_.Stamp(file_);
  ASSERT_TRUE(store_.Save(settings));
  EXPECT_EQ(files_.Stamp(file_), before) << "nothing changed";
}

TEST_F(MailSettingsTest, NobodyElseMayReadThePassword) {
  MailSettings settings;
  settings.MailPassword = "secret";
  const fs::perms mine = fs::perms::owner_read | fs::perms::owner_write;
  ASSERT_TRUE(store_.Save(settings));
  EXPECT_EQ(fs::status(file_).permissions(), mine);
  fs::permissions(file_, fs::perms::others_read, fs::perm_options::add);
  settings.MailPassword = "changed";
  ASSERT_TRUE(store_.Save(settings));
  EXPECT_EQ(fs::status(file_).permissions(), mine);
}

TEST_F(MailSettingsTest, AValueThatWouldBreakTheFileIsRefusedWithAllOthers) {
  ASSERT_TRUE(store_.Save(Different()));
  const std::string before = ReadFile(file_);
  MailSettings settings;
  settings.Organization = "two\nlines";
  EXPECT_FALSE(store_.Save(settings));
  EXPECT_EQ(ReadFile(file_), before);
}

TEST_F(MailSettingsTest, TheFilesNameKnowsNoCase) {
  folder_.Write("OPTIONS.INI", "[Mail Options]\nTimeout=11\n");
  MailSettings settings = store_.Load();
  EXPECT_EQ(settings.Timeout, "11");
  settings.Timeout = "12";
  ASSERT_TRUE(store_.Save(settings));
  EXPECT_THAT(Names(folder_.Path()), testing::ElementsAre("OPTIONS.INI"));
}

TEST_F(MailSettingsTest, AFileThatCannotBeReadIsNotReplaced) {
  folder_.Folder("Options.ini/inside");
  EXPECT_EQ(store_.Load(), MailSettings());
  EXPECT_THAT(store_.Problem(), testing::HasSubstr("Options.ini"));
  EXPECT_FALSE(store_.Save(Different()));
  EXPECT_TRUE(fs::is_directory(file_ / "inside"));
}

TEST_F(MailSettingsTest, AFolderThatIsMissingIsAFailureNotAnError) {
  MailSettingsStore store(files_, folder_.Path() / "no");
  EXPECT_EQ(store.Load(), MailSettings());
  EXPECT_FALSE(store.Save(Different()));
}

}  // namespace
}  // namespace fieldpost::test
