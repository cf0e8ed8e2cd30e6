#include "options/OptionsValidation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

class OptionsValidationTest : public testing::Test {
 protected:
  OptionsValidationTest() {
    shown_.settings.ArchiveFolder = archive_;
    shown_.settings.ProcessFolder = process_;
    shown_.settings.SMTPServer = "mail.example";
    shown_.latestFolders = {PathFromUtf8(latest_)};
  }
  [[nodiscard]] std::string Folder(std::string_view name) const {
    return WithSeparator(Utf8FromPath(folder_.Folder(name)));
  }
  [[nodiscard]] std::optional<OptionsRefusal> Refusal() const { return FindOptionsRefusal(shown_, files_); }

  TempFolder folder_;
  DiskFileSystem files_;
  std::string archive_ = Folder("Archive");
  std::string process_ = Folder("Process");
  std::string latest_ = Folder("Latest");
  std::string missing_ = Utf8FromPath(folder_.Path()) + "/none/";
  OptionsValues shown_;
};

const OptionsRefusal NoProcessFolder{"Path not found!",
                                     MessageIcon::Critical,
                                     "ProcessFolder",
                                     OptionsPage::Folders,
                                     OptionsControl::txtProcessFolder,
                                     {}};
const OptionsRefusal NoArchiveFolder{"Path not found!",    MessageIcon::Critical,           "ArchiveFolder",
                                     OptionsPage::Folders, OptionsControl::txtOutputFolder, {}};
const OptionsRefusal NoLatestFolder{
    "Latest folder(s) missing", MessageIcon::Exclamation,       "Missing Options",
    OptionsPage::Folders,       OptionsControl::txtInputFolder, {}};
const OptionsRefusal NoServer{"SMTP mail server missing", MessageIcon::Exclamation,      "Missing Options",
                              OptionsPage::MailServer,    OptionsControl::txtSMTPserver, {}};

OptionsRefusal AtRow(std::string text, std::size_t row) {
  return {std::move(text), MessageIcon::Exclamation, "", OptionsPage::Folders, OptionsControl::LVPath, row};
}

TEST_F(OptionsValidationTest, AcceptsValidOptions) {
  EXPECT_EQ(Refusal(), std::nullopt);
}

TEST_F(OptionsValidationTest, AcceptsEmptyArchiveAndProcessFolders) {
  shown_.settings.ArchiveFolder = "";
  shown_.settings.ProcessFolder = "";
  EXPECT_EQ(Refusal(), std::nullopt);
}

TEST_F(OptionsValidationTest, ReportsTheFirstFaultInTheOrderOfTheChecks) {
  shown_.settings.ProcessFolder = missing_;
  shown_.settings.ArchiveFolder = missing_;
  shown_.settings.SMTPServer = "";
  shown_.latestFolders.clear();
  EXPECT_EQ(Refusal(), NoProcessFolder);
  shown_.settings.ProcessFolder = process_;
  EXPECT_EQ(Refusal(), NoArchiveFolder);
  shown_.settings.ArchiveFolder = archive_;
  shown_.latestFolders = {PathFromUtf8(latest_), PathFromUtf8(missing_), PathFromUtf8(process_)};
  EXPECT_EQ(Refusal(), AtRow("Folder not found: " + missing_, 1));
  shown_.latestFolders = {PathFromUtf8(latest_), PathFromUtf8(process_), PathFromUtf8(missing_)};
  EXPECT_EQ(Refusal(), AtRow("The LatestFolder and ProcessFolder can't be same", 1));
  shown_.latestFolders.clear();
  EXPECT_EQ(Refusal(), NoLatestFolder);
  shown_.latestFolders = {PathFromUtf8(latest_)};
  EXPECT_EQ(Refusal(), NoServer);
  shown_.settings.SMTPServer = "x";
  EXPECT_EQ(Refusal(), std::nullopt);
}

TEST_F(OptionsValidationTest, ComparesLatestAndProcessFoldersAsTexts) {
  const std::string other = Folder("pROCESS");
  for (const auto& [process, latest, expected] :
       std::vector<std::tuple<std::string, std::string, std::optional<OptionsRefusal>>>{
           {process_, process_, AtRow("The LatestFolder and ProcessFolder can't be same", 0)},
           {process_, other, std::nullopt},
           {process_, process_.substr(0, process_.size() - 1), std::nullopt},
           {missing_, missing_, NoProcessFolder}}) {
    shown_.settings.ProcessFolder = process;
    shown_.latestFolders = {PathFromUtf8(latest)};
    EXPECT_EQ(Refusal(), expected) << process << " and " << latest;
  }
}

TEST_F(OptionsValidationTest, RefusesAFileAsAFolder) {
  const std::string file = Utf8FromPath(folder_.Write("file.xml", ""));
  shown_.settings.ProcessFolder = file;
  EXPECT_EQ(Refusal(), NoProcessFolder);
  shown_.settings.ProcessFolder = process_;
  shown_.latestFolders = {PathFromUtf8(file)};
  EXPECT_EQ(Refusal(), AtRow("Folder not found: " + file, 0));
}

TEST_F(OptionsValidationTest, FindsTheConflictsOfTheFolderButtons) {
  struct Row {
    FolderButton button;
    std::string chosen;
    std::string message;  // empty: accepted
  };
  const std::string free = Folder("free");
  for (const Row& row : {
           Row{FolderButton::cmdArchiveFolder, process_, "This Directory is charged whit Process Files"},
           Row{FolderButton::cmdArchiveFolder, latest_, "This Directory is charged whit Latest Files"},
           Row{FolderButton::cmdArchiveFolder, archive_, ""},
           Row{FolderButton::cmdArchiveFolder, free, ""},
           Row{FolderButton::cmdProcessPath, archive_, "This Directory is charged whit Archive Files"},
           Row{FolderButton::cmdProcessPath, latest_, "This Directory is charged whit Latest Files"},
           Row{FolderButton::cmdProcessPath, process_, ""},
           Row{FolderButton::cmdBrowserAdd, process_, "This directory is charged whit Process files"},
           Row{FolderButton::cmdBrowserAdd, archive_, "This directory is charged whit Archive files"},
           Row{FolderButton::cmdBrowserAdd, latest_, ""},
       }) {
    std::optional<OptionsRefusal> expected;
    if (!row.message.empty()) expected = OptionsRefusal{.text = row.message, .title = "Charged"};
    EXPECT_EQ(FindFolderConflict(row.button, row.chosen, shown_), expected) << row.message;
    const std::string bare = row.chosen.substr(0, row.chosen.size() - 1);
    EXPECT_EQ(FindFolderConflict(row.button, bare, shown_), expected) << "without separator: " << row.message;
  }
}

TEST_F(OptionsValidationTest, FindsTheConflictsOfAButtonInOrder) {
  shown_.settings.ArchiveFolder = latest_;
  shown_.settings.ProcessFolder = latest_;
  for (const auto& [button, message] : std::vector<std::pair<FolderButton, std::string>>{
           {FolderButton::cmdArchiveFolder, "This Directory is charged whit Process Files"},
           {FolderButton::cmdProcessPath, "This Directory is charged whit Archive Files"},
           {FolderButton::cmdBrowserAdd, "This directory is charged whit Process files"}}) {
    EXPECT_EQ(FindFolderConflict(button, latest_, shown_).value_or(OptionsRefusal{}).text, message);
  }
}

TEST_F(OptionsValidationTest, FindsNoConflictWithAnEmptyFolder) {
  shown_.settings.ArchiveFolder = "";
  shown_.settings.ProcessFolder = "";
  EXPECT_EQ(FindFolderConflict(FolderButton::cmdBrowserAdd, Folder("free"), shown_), std::nullopt);
}

TEST_F(OptionsValidationTest, RefusesTypedFoldersThatCannotBeAdded) {
  const std::string file = Utf8FromPath(folder_.Write("file.xml", ""));
  const std::string filename = "Path not found! (Make sure you not insert filename)";
  const std::string incorrect = "Folder not found or path is incorrect";
  for (const auto& [typed, message] : std::vector<std::pair<std::string, std::string>>{
           {Folder("free"), ""},
           {Utf8FromPath(folder_.Folder("bare")), ""},
           {latest_, ""},
           {"/", ""},
           {file, filename},
           {"/dev/null", filename},
           {missing_, incorrect},
           {"", incorrect},
           {".", incorrect},
           {"Latest", incorrect},
           {process_, "This directory is charged whit Process files"},
           {archive_.substr(0, archive_.size() - 1), "This directory is charged whit Archive files"}}) {
    const std::optional<OptionsRefusal> refusal = FindTypedFolderRefusal(typed, shown_, files_);
    EXPECT_EQ(refusal.value_or(OptionsRefusal{}).text, message) << typed;
    EXPECT_EQ(refusal.has_value(), !message.empty()) << typed;
  }
}

TEST(AcceptedPartnerIDTest, ChecksOnlyTheLastCharacter) {
  for (const auto& [typed, expected] : std::vector<std::pair<std::string, std::string>>{
           {"", ""},       {"A", "A"},           {"Z9", "Z9"}, {"az0", "az0"}, {"AB-", "AB"},
           {"A-B", "A-B"}, {"AB--", "AB-"},      {"-", ""},    {"A/", "A"},    {"A:", "A"},
           {"A@", "A"},    {"A[", "A"},          {"A`", "A"},  {"A{", "A"},    {"A ", "A"},
           {"Aé", "A"},    {"A\U0001F600", "A"}, {"é", ""},    {"éA", "éA"},   {"A\x7F", "A"},
           {"\x80", ""}}) {
    EXPECT_EQ(AcceptedPartnerID(typed), expected) << typed;
  }
}

}  // namespace
}  // namespace fieldpost::test
