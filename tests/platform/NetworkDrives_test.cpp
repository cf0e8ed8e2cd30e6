#include "platform/NetworkDrives.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <string>

#include "support/FailingCall.h"
#include "support/TempFolder.h"
#include "support/Variables.h"

namespace fieldpost::test {
namespace {

/// Installs fake file managers in a folder that is the whole PATH.
class NetworkDrivesTest : public testing::Test {
 protected:
  NetworkDrivesTest() {
    EXPECT_EQ(::mkfifo(report_.c_str(), 0600), 0);
    Install("setsid", "exec /usr/bin/setsid \"$@\"");
  }

  void Install(const std::string& name, const std::string& script) {
    const auto file = folder_.Write("bin/" + name, "#!/bin/sh\n" + script + "\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
  }

  /// Installs a file manager that reports its arguments, and whether it runs in a session of its own.
  void InstallManager(const std::string& name) {
    Install(name,
            "read -r pid comm state parent group session rest < /proc/$$/stat\n"
            "[ \"$session\" != \"" +
                std::to_string(::getsid(0)) +
                "\" ] && own=detached\n"
                "echo \"" +
                name + " $# $1 $own\" > '" + report_.string() + "'");
  }

  /// Waits for the report of the started program and returns it.
  std::string Report() { return ReadFile(report_); }

  TempFolder folder_;
  std::filesystem::path report_ = folder_ / "report";
  Variables search_{{"PATH", (folder_ / "bin").string()}, {"XDG_CURRENT_DESKTOP", std::nullopt}};
  DesktopNetworkDrives drives_;
  std::string problem_ = "before";
};

TEST_F(NetworkDrivesTest, ConnectAndDisconnectStartTheFileManagerDetached) {
  InstallManager("thunar");
  ASSERT_TRUE(drives_.Connect(problem_));
  EXPECT_EQ(Report(), "thunar 1 network:/// detached\n");
  ASSERT_TRUE(drives_.Disconnect(problem_));
  EXPECT_EQ(Report(), "thunar 1 network:/// detached\n");
  EXPECT_EQ(problem_, "before");
}

TEST_F(NetworkDrivesTest, LeavesNoZombieProcess) {
  InstallManager("thunar");
  ASSERT_TRUE(drives_.Connect(problem_));
  Report();
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST_F(NetworkDrivesTest, PrefersTheDesktopsOwnFileManager) {
  for (const char* name :
       {"nautilus", "dolphin", "thunar", "caja", "nemo", "pcmanfm-qt", "pcmanfm", "xdg-open"}) {
    InstallManager(name);
  }
  for (const auto& [desktop, told] :
       std::vector<std::pair<std::string, std::string>>{{"GNOME", "nautilus 1 network:///"},
                                                        {"ubuntu:GNOME", "nautilus 1 network:///"},
                                                        {"KDE", "dolphin 1 remote:/"},
                                                        {"XFCE", "thunar 1 network:///"},
                                                        {"MATE", "caja 1 network:///"},
                                                        {"X-Cinnamon", "nemo 1 network:///"},
                                                        {"LXQt", "pcmanfm-qt 1 network:///"},
                                                        {"LXDE", "pcmanfm 1 network:///"},
                                                        {"Other", "nautilus 1 network:///"},
                                                        {"", "nautilus 1 network:///"}}) {
    const Variables session({{"XDG_CURRENT_DESKTOP", desktop}});
    ASSERT_TRUE(drives_.Connect(problem_));
    EXPECT_EQ(Report(), told + " detached\n") << desktop;
  }
}

TEST_F(NetworkDrivesTest, FallsBackToOtherFileManagersAndThenXdgOpen) {
  const Variables session({{"XDG_CURRENT_DESKTOP", "GNOME"}});
  InstallManager("xdg-open");
  ASSERT_TRUE(drives_.Connect(problem_));
  EXPECT_EQ(Report(), "xdg-open 1 network:/// detached\n");
  InstallManager("pcmanfm");
  ASSERT_TRUE(drives_.Connect(problem_));
  EXPECT_EQ(Report(), "pcmanfm 1 network:/// detached\n");
}

TEST_F(NetworkDrivesTest, ReturnsAOneLineProblemWithoutAFileManager) {
  const std::string line =
      "No file manager that shows network drives was found. Connect the drive by other means, then choose "
      "its "
      "folder with Browse.";
  EXPECT_FALSE(drives_.Connect(problem_));
  EXPECT_EQ(problem_, line);
  problem_.clear();
  EXPECT_FALSE(drives_.Disconnect(problem_));
  EXPECT_EQ(problem_, line);
}

TEST_F(NetworkDrivesTest, IgnoresFilesThatAreNotExecutable) {
  folder_.Write("bin/thunar", "no program");
  std::filesystem::remove(folder_ / "bin/setsid");
  EXPECT_FALSE(drives_.Connect(problem_));
  InstallManager("caja");
  EXPECT_FALSE(drives_.Connect(problem_));
}

TEST_F(NetworkDrivesTest, IgnoresRelativeFoldersInThePath) {
  const Variables search({{"PATH", "::."}});
  EXPECT_FALSE(drives_.Connect(problem_));
}

TEST_F(NetworkDrivesTest, TriesTheNextWhenAProgramCannotBeStarted) {
  InstallManager("thunar");
  const FailingCall failing("posix_spawn", EAGAIN, 0, 100);
  EXPECT_FALSE(drives_.Connect(problem_));
  EXPECT_NE(problem_.find("No file manager"), std::string::npos);
  EXPECT_GT(failing.Failures(), 0);
}

TEST_F(NetworkDrivesTest, RepeatsAWaitThatASignalInterrupts) {
  InstallManager("thunar");
  const FailingCall failing("waitpid", EINTR, 0, 2);
  EXPECT_TRUE(drives_.Connect(problem_));
  EXPECT_EQ(Report(), "thunar 1 network:/// detached\n");
  EXPECT_EQ(failing.Failures(), 2);
}

TEST_F(NetworkDrivesTest, FailsWhenTheStarterFails) {
  InstallManager("thunar");
  for (const char* script : {"exit 1", "kill -9 $$"}) {
    Install("setsid", script);
    EXPECT_FALSE(drives_.Connect(problem_)) << script;
  }
}

}  // namespace
}  // namespace fieldpost::test
