#include "options/OptionsStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "environment/EditWinReg.h"
#include "environment/Recipients.h"
#include "platform/IniFile.h"
#include "platform/SqliteKeyStore.h"
#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

namespace fs = std::filesystem;

class OptionsStoreTest : public testing::Test {
 protected:
  static OptionsValues Shown() {
    OptionsValues values;
    for (const MailSettingsField& field : MailSettingsFields) {
      values.settings.*field.member = "new " + std::string(field.name);
    }
    values.settings.PartnerID = "NEW1";
    values.faultlogRecipient = "fault@site.example";
    values.ppcRecipient = "ppc@site.example";
    values.latestFolders = {"/srv/b/", "/srv/a/"};
    return values;
  }
  std::string OwnPartnerID() {
    return ReadIniValue(files_, own_ / "Options.ini", "Mail Options", "PartnerID");
  }
  std::string Recipient(std::string_view key) {
    return EditWinReg(keys_).QueryText(HKEY_LOCAL_MACHINE, key, "");
  }
  void SetRecipient(std::string_view key, const std::string& address) {
    EditWinReg(keys_).CreateNewKey(HKEY_LOCAL_MACHINE, key);
    EditWinReg(keys_).SetKeyValue(HKEY_LOCAL_MACHINE, key, "", address, REG_SZ);
  }

  TempFolder folder_;
  fs::path own_ = folder_.Folder("own");
  fs::path inst_ = folder_.Folder("inst");
  DiskFileSystem files_;
  SqliteKeyStore keys_{files_, own_ / "registry.sqlite"};
  MailSettings settings_;
  PathList latest_;
  OptionsStore store_{files_, keys_, settings_, latest_, own_};
};

TEST_F(OptionsStoreTest, ThePartnerIDOfTheSuiteTakesPrecedence) {
  folder_.Write("inst/Faultlog.ini", "[placeinfo]\r\nPartnerID=AB12\r\nOther=1\r\n");
  settings_.PartnerID = "OLD";
  EXPECT_EQ(store_.LoadPartnerID(inst_), "AB12");
  EXPECT_EQ(settings_.PartnerID, "AB12");
  EXPECT_EQ(OwnPartnerID(), "AB12") << "at once, even if nothing is saved then";
  EXPECT_EQ(ReadFile(inst_ / "Faultlog.ini"), "[placeinfo]\r\nPartnerID=AB12\r\nOther=1\r\n");
  EXPECT_THAT(Names(inst_), testing::ElementsAre("Faultlog.ini"));
}

TEST_F(OptionsStoreTest, TrimsThePartnerIDInBothFiles) {
  folder_.Write("inst/faultlog.ini", "[PlaceInfo]\nPartnerID=\"AB12  \"\n");
  EXPECT_EQ(store_.LoadPartnerID(inst_), "AB12");
  EXPECT_EQ(OwnPartnerID(), "AB12");
  EXPECT_EQ(ReadFile(inst_ / "faultlog.ini"), "[PlaceInfo]\nPartnerID=AB12\n");
}

TEST_F(OptionsStoreTest, UsesThePartnerIDOfTheSettingsWithoutTheSuites) {
  settings_.PartnerID = "OWN7";
  for (const char* content : {"", "[PlaceInfo]\nPartnerID=\n", "[Other]\nPartnerID=X\n"}) {
    folder_.Write("inst/faultlog.ini", content);
    EXPECT_EQ(store_.LoadPartnerID(inst_), "OWN7") << content;
    EXPECT_EQ(ReadFile(inst_ / "faultlog.ini"), content);
  }
  EXPECT_THAT(Names(own_), testing::IsEmpty());
  EXPECT_EQ(store_.LoadPartnerID(folder_.Path() / "no such folder"), "OWN7");
}

TEST_F(OptionsStoreTest, LoadsDefaultsWhenNothingIsStored) {
  const OptionsValues shown = store_.LoadOptions(inst_);
  OptionsValues expected;
  expected.settings.SMTPPort = "25";
  expected.settings.TryCount = "2";
  expected.settings.Timeout = "10";
  expected.faultlogRecipient = DefaultFaultlogRecipient();
  expected.ppcRecipient = DefaultPpcRecipient();
  EXPECT_EQ(shown, expected);
  EXPECT_EQ(settings_, MailSettings()) << "showing stores nothing";
  EXPECT_THAT(Names(own_), testing::IsEmpty());
}

TEST_F(OptionsStoreTest, LoadsThePartnerIDOfTheSuite) {
  folder_.Write("inst/Faultlog.ini", "[PlaceInfo]\nPartnerID=AB12\n");
  EXPECT_EQ(store_.LoadOptions(inst_).settings.PartnerID, "AB12");
}

TEST_F(OptionsStoreTest, LoadsTheStoredOptions) {
  settings_ = Shown().settings;
  latest_ = {"/x/"};
  SetRecipient(FaultlogRecipientKey, "f@x.example");
  SetRecipient(PpcRecipientKey, "");
  const OptionsValues shown = store_.LoadOptions(inst_);
  EXPECT_EQ(shown.settings, settings_);
  EXPECT_EQ(shown.faultlogRecipient, "f@x.example");
  EXPECT_EQ(shown.ppcRecipient, DefaultPpcRecipient());
  EXPECT_EQ(shown.latestFolders, latest_);
}

TEST_F(OptionsStoreTest, SavesToEveryPlace) {
  folder_.Write("inst/FaultLog.ini", "; suite\r\n[Directories]\r\nFaultLog=D:\\x\r\n");
  EXPECT_THAT(store_.SaveOptions(Shown(), inst_), testing::IsEmpty());

  EXPECT_EQ(settings_, Shown().settings);
  EXPECT_EQ(MailSettingsStore(files_, own_).Load(), Shown().settings);
  EXPECT_EQ(ReadFile(inst_ / "FaultLog.ini"),
            "; suite\r\n[Directories]\r\nFaultLog=D:\\x\r\n[PlaceInfo]\r\nPartnerID=NEW1\r\n");
  EXPECT_EQ(Recipient(FaultlogRecipientKey), "fault@site.example");
  EXPECT_EQ(Recipient(PpcRecipientKey), "ppc@site.example");
  EXPECT_EQ(latest_, Shown().latestFolders);
  EXPECT_EQ(ReadFile(own_ / "LatestList.dat"), "/srv/b/\n/srv/a/\n");
  EXPECT_EQ(fs::status(own_ / "Options.ini").permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(OptionsStoreTest, KeepsTheStoredPartnerIDWhenEmpty) {
  ASSERT_THAT(store_.SaveOptions(Shown(), inst_), testing::IsEmpty());
  const std::string own = ReadFile(own_ / "Options.ini");
  const std::string suite = ReadFile(inst_ / "faultlog.ini");
  OptionsValues values = Shown();
  values.settings.PartnerID = "";
  EXPECT_THAT(store_.SaveOptions(values, inst_), testing::IsEmpty());
  EXPECT_EQ(ReadFile(own_ / "Options.ini"), own);
  EXPECT_EQ(ReadFile(inst_ / "faultlog.ini"), suite);
  EXPECT_EQ(settings_.PartnerID, "") << "this run has none";
}

TEST_F(OptionsStoreTest, SavesEmptyTexts) {
  ASSERT_THAT(store_.SaveOptions(Shown(), inst_), testing::IsEmpty());
  OptionsValues values = Shown();
  values.settings.ArchiveFolder = "";
  values.settings.ProcessFolder = "";
  values.settings.MailPassword = "";
  values.ppcRecipient = "";
  values.latestFolders = {};
  EXPECT_THAT(store_.SaveOptions(values, inst_), testing::IsEmpty());
  const MailSettings stored = MailSettingsStore(files_, own_).Load();
  EXPECT_EQ(stored.ArchiveFolder, "");
  EXPECT_EQ(stored.ProcessFolder, "");
  EXPECT_EQ(stored.MailPassword, "");
  EXPECT_EQ(Recipient(PpcRecipientKey), "");
  EXPECT_EQ(ReadFile(own_ / "LatestList.dat"), "");
  KeyData data;
  OpenedKey key(keys_);
  ASSERT_EQ(key.Open(HKEY_LOCAL_MACHINE, PpcRecipientKey, KeyReadAccess), KeyOk);
  EXPECT_EQ(keys_.QueryValue(key.Handle(), "", data), KeyOk) << "the value is there, and empty";
  EXPECT_EQ(data, (KeyData{KeyTypeText, ""}));
}

TEST_F(OptionsStoreTest, AFailingPlaceDoesNotBlockTheOthers) {
  folder_.Folder("inst/faultlog.ini");
  EXPECT_THAT(store_.SaveOptions(Shown(), inst_), testing::ElementsAre((inst_ / "faultlog.ini").string()));
  EXPECT_EQ(OwnPartnerID(), "NEW1");
  EXPECT_EQ(Recipient(PpcRecipientKey), "ppc@site.example");
  EXPECT_EQ(ReadFile(own_ / "LatestList.dat"), "/srv/b/\n/srv/a/\n");

  OptionsValues values = Shown();
  values.settings.Organization = "two\nlines";
  values.faultlogRecipient = "other@site.example";
  EXPECT_THAT(store_.SaveOptions(values, folder_.Path()),
              testing::ElementsAre((own_ / "Options.ini").string()));
  EXPECT_EQ(Recipient(FaultlogRecipientKey), "other@site.example");
}

TEST_F(OptionsStoreTest, ReturnsTheUnsavedPlacesInTheOrderOfSaving) {
  folder_.Folder("own/Options.ini");
  folder_.Folder("inst/faultlog.ini");
  folder_.Folder("own/registry.sqlite");
  folder_.Folder("own/LatestList.dat");
  EXPECT_THAT(
      store_.SaveOptions(Shown(), inst_),
      testing::ElementsAre((own_ / "Options.ini").string(), (inst_ / "faultlog.ini").string(),
                           "HKLM\\" + std::string(FaultlogRecipientKey),
                           "HKLM\\" + std::string(PpcRecipientKey), (own_ / "LatestList.dat").string()));
  for (const char* name :
       {"own/Options.ini", "inst/faultlog.ini", "own/registry.sqlite", "own/LatestList.dat"}) {
    fs::remove(folder_.Path() / name);
  }
  EXPECT_THAT(store_.SaveOptions(Shown(), inst_), testing::IsEmpty());
}

TEST(DefaultRecipientsTest, ReturnsAddresses) {
  EXPECT_THAT(std::string(DefaultFaultlogRecipient()), testing::MatchesRegex("[^@ ]+@[^@ ]+"));
  EXPECT_THAT(std::string(DefaultPpcRecipient()), testing::MatchesRegex("[^@ ]+@[^@ ]+"));
  EXPECT_NE(DefaultFaultlogRecipient(), DefaultPpcRecipient());
}

}  // namespace
}  // namespace fieldpost::test
