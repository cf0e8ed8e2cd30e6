#include "shell/KeepSecrets.h"

#include <gmock/gmock.h>

#include <cerrno>

#include "support/FailingCall.h"
#include "support/TestSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

struct SecretsSite : test::ReadySite {
  SecretsSite() : settings(folder.Write("home/Options.ini", "[Mail]\r\nPassword=secret\r\n")) {
    fs::permissions(settings, static_cast<fs::perms>(0600));
  }

  void Keep() {
    const Ports ports{disk, clock, keys, transport, prompt, display};
    for (const std::string& line : KeepSecrets(ports, program.settingsStore))
      program.log.WriteLog(line, LogCategory::Error);
  }

  DiskFileSystem disk;
  fs::path settings;
};

TEST(KeepSecrets, LogsNothingWhenNoFileIsOpenToOthers) {
  SecretsSite site;
  site.Keep();
  EXPECT_THAT(site.Log(), IsEmpty());
}

TEST(KeepSecrets, ClosesAnOpenFileAndLogsWhatToDo) {
  SecretsSite site;
  fs::permissions(site.settings, static_cast<fs::perms>(0644));
  site.Keep();
  EXPECT_EQ(fs::status(site.settings).permissions(), static_cast<fs::perms>(0600));
  const std::string name = Utf8FromPath(site.settings);
  EXPECT_THAT(
      site.Log(),
      ElementsAre("[Error]:" + name +
                  " was accessible to other users; now only its owner can access it. If somebody may have "
                  "read it, change the mail password"));
}

TEST(KeepSecrets, LogsWhyAFileStaysOpen) {
  SecretsSite site;
  fs::permissions(site.settings, static_cast<fs::perms>(0644));
  const test::FailingCall failing("fchmod", EPERM);
  site.Keep();
  EXPECT_THAT(site.Log(), ElementsAre(testing::AllOf(HasSubstr("cannot set the permissions of"),
                                                     EndsWith("Operation not permitted"))));
}

}  // namespace
}  // namespace fieldpost
