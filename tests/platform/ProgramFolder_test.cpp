#include "platform/ProgramFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <optional>

#include "support/FailingCall.h"
#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

namespace fs = std::filesystem;

/// Sets a variable of the environment and restores it at the end of the scope.
class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    Set(value);
  }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;
  ~Variable() { Set(old_ ? old_->c_str() : nullptr); }

 private:
  void Set(const char* value) const {
    if (value == nullptr) {
      ::unsetenv(name_);
    } else {
      ::setenv(name_, value, 1);
    }
  }

  const char* name_;
  std::optional<std::string> old_;
};

TEST(ProgramFolderTest, OwnFolderFollowsTheEnvironment) {
  struct Case {
    const char* own;
    const char* data;
    const char* home;
    fs::path folder;
  };
  const std::vector<Case> cases{
      {nullptr, nullptr, "/home/u", "/home/u/.local/share/fieldpost"},
      {"", "", "/home/u/", "/home/u/.local/share/fieldpost"},
      {nullptr, "/data", "/home/u", "/data/fieldpost"},
      {nullptr, "/data/", "/home/u", "/data/fieldpost"},
      {nullptr, "not/full", "/home/u", "/home/u/.local/share/fieldpost"},
      {"/srv/own", "/data", "/home/u", "/srv/own"},
      {"/srv/own/", "/data", "/home/u", "/srv/own"},
      {"/", "/data", "/home/u", "/"},
      {"here/own", nullptr, "/home/u", fs::current_path() / "here" / "own"},
      {"./own/", nullptr, "/home/u", fs::current_path() / "own"},
  };
  for (const Case& given : cases) {
    const Variable own("FIELDPOST_HOME", given.own);
    const Variable data("XDG_DATA_HOME", given.data);
    const Variable home("HOME", given.home);
    const Variable registry("FIELDPOST_REGISTRY", "");
    EXPECT_EQ(Utf8FromPath(OwnFolder()), Utf8FromPath(given.folder));
    EXPECT_EQ(RegistryFile(), given.folder / "registry.sqlite");
  }
}

TEST(ProgramFolderTest, OwnFolderIsInTheUsersHomeWithoutTheVariable) {
  const Variable own("FIELDPOST_HOME", nullptr);
  const Variable data("XDG_DATA_HOME", nullptr);
  const Variable home("HOME", nullptr);
  EXPECT_TRUE(OwnFolder().is_absolute());
  EXPECT_EQ(OwnFolder().filename(), "fieldpost");
}

TEST(ProgramFolderTest, OwnFolderIsEmptyWithoutAHome) {
  const Variable own("FIELDPOST_HOME", nullptr);
  const Variable data("XDG_DATA_HOME", nullptr);
  const Variable home("HOME", nullptr);
  const Variable registry("FIELDPOST_REGISTRY", nullptr);
  const FailingCall failing("getpwuid", ENOENT, 0, 2);
  EXPECT_EQ(OwnFolder(), fs::path());
  EXPECT_EQ(RegistryFile(), fs::path());
}

TEST(ProgramFolderTest, RegistryFileFollowsItsVariable) {
  const Variable own("FIELDPOST_HOME", "/srv/own");
  const Variable registry("FIELDPOST_REGISTRY", "/srv/keys.sqlite");
  EXPECT_EQ(RegistryFile(), "/srv/keys.sqlite");
  EXPECT_EQ(OwnFolder(), "/srv/own");
}

TEST(ProgramFolderTest, MakeOwnFolderCreatesItForTheOwnerOnly) {
  const TempFolder folder;
  DiskFileSystem files;
  const fs::path own = folder.Path() / "a" / "fieldpost";
  MakeOwnFolder(files, own);
  MakeOwnFolder(files, own);
  EXPECT_EQ(fs::status(own).permissions(), fs::perms::owner_all);
}

}  // namespace
}  // namespace fieldpost::test
