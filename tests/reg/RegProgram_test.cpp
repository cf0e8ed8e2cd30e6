#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

namespace fs = std::filesystem;

/// Runs the built program with a folder of its own.
class RegProgramTest : public testing::Test {
 protected:
  /// Returns the shell command that runs the program; `words` are already quoted.
  [[nodiscard]] std::string Command(const std::string& words) const {
    return "env -u XDG_DATA_HOME -u FIELDPOST_REGISTRY FIELDPOST_HOME=" + Quoted(Utf8FromPath(own_)) + " " +
           Quoted(FIELDPOST_BIN "/fieldpost-reg") + " " + words;
  }
  [[nodiscard]] int Status(const std::string& words) const {
    return ChildProcess(Command(words) + " 2>&1").ExitStatus();
  }
  [[nodiscard]] std::string Output(const std::string& words) const {
    return ChildProcess(Command(words)).Output();
  }

  TempFolder folder_;
  fs::path own_ = folder_.Path() / "own";
  fs::path registry_ = own_ / "registry.sqlite";
};

TEST_F(RegProgramTest, SetsUpASite) {
  EXPECT_EQ(Status(R"(query 'HKLM\SOFTWARE' 2>&1)"), 1);
  EXPECT_FALSE(fs::exists(own_)) << "a query creates nothing";
  EXPECT_EQ(Status(R"(add 'HKLM\SOFTWARE\Kestrel\OrvikShared\Common\InstPath' --ve --data '/srv/Größe 1')"),
            0);
  EXPECT_EQ(Output(R"(query 'HKLM\SOFTWARE\Kestrel\OrvikShared\Common\InstPath' --ve)"), "/srv/Größe 1\n");
  EXPECT_EQ(fs::status(own_).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(registry_).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(Status("frob"), 2);
}

TEST_F(RegProgramTest, RegistryFileFollowsItsVariable) {
  const fs::path elsewhere = folder_.Path() / "keys.sqlite";
  const std::string command = "FIELDPOST_REGISTRY=" + Quoted(Utf8FromPath(elsewhere)) + " " +
                              Quoted(FIELDPOST_BIN "/fieldpost-reg") + R"( add 'HKLM\A')";
  EXPECT_EQ(ChildProcess(command).ExitStatus(), 0);
  EXPECT_TRUE(fs::exists(elsewhere));
}

TEST_F(RegProgramTest, ConcurrentWritersLoseNothing) {
  constexpr int programs = 4;
  constexpr int writes = 15;
  std::vector<ChildProcess> running;
  for (int program = 0; program < programs; ++program) {
    const std::string name = std::to_string(program);
    running.emplace_back("i=0; while [ $i -lt " + std::to_string(writes) + " ]; do " +
                         Command(R"(add 'HKLM\Shared' --value )" + name + "-$i --data " + name + "x$i") +
                         " || exit 1; i=$((i+1)); done");
  }
  for (ChildProcess& program : running) EXPECT_EQ(program.ExitStatus(), 0);
  const std::string listed = Output(R"(query 'HKLM\Shared')");
  for (int program = 0; program < programs; ++program) {
    for (int i = 0; i < writes; ++i) {
      const std::string name = std::to_string(program) + "-" + std::to_string(i);
      const std::string data = std::to_string(program) + "x" + std::to_string(i);
      EXPECT_THAT(listed, testing::HasSubstr("    " + name + "    REG_SZ    " + data + "\n"));
    }
  }
}

/// A reader whose lock keeps a writer waiting while its rollback journal exists.
class WaitingReader {
 public:
  explicit WaitingReader(const fs::path& file) {
    EXPECT_EQ(sqlite3_open(file.c_str(), &database_), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database_, "BEGIN; SELECT * FROM keys", nullptr, nullptr, nullptr), SQLITE_OK);
  }
  WaitingReader(const WaitingReader&) = delete;
  WaitingReader& operator=(const WaitingReader&) = delete;
  ~WaitingReader() { sqlite3_close(database_); }

 private:
  sqlite3* database_ = nullptr;
};

TEST_F(RegProgramTest, RollbackJournalIsForTheOwnerOnly) {
  ASSERT_EQ(Status(R"(add 'HKLM\A')"), 0);
  const fs::path journal = fs::path(registry_) += "-journal";
  fs::perms found = fs::perms::none;
  {
    auto reader = std::make_unique<WaitingReader>(registry_);
    ChildProcess writer("umask 0; " + Command(R"(add 'HKLM\A' --ve --data secret)"));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(8);
    while (!fs::exists(journal) && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_TRUE(fs::exists(journal));
    found = fs::status(journal).permissions();
    reader.reset();
    EXPECT_EQ(writer.ExitStatus(), 0) << "the writer waited";
  }
  EXPECT_EQ(found, fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(Output(R"(query 'HKLM\A' --ve)"), "secret\n");
}

}  // namespace
}  // namespace fieldpost::test
