// What has to be durable before what when files are replaced, and what is left when that fails.
#include <gmock/gmock.h>

#include <array>

#include "support/DyingFileSystem.h"
#include "support/TempFolder.h"
#include "support/TracedFileSystem.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::Change;
using testing::ElementsAre;

class ReplacingFiles : public testing::Test {
 protected:
  /// What was done, each step with the names of its files.
  [[nodiscard]] std::vector<std::string> Steps() const {
    std::vector<std::string> steps;
    for (const Change& change : trace_) {
      const fs::path& path = change.what == "flush" ? change.flushed.at(0) : change.path;
      steps.push_back(change.what + " " + Utf8FromPath(path.filename()));
    }
    return steps;
  }

  test::TempFolder folder_;
  test::DyingFileSystem disk_;
  test::Trace trace_;
  test::TracedFileSystem files_{disk_, trace_};
};

TEST_F(ReplacingFiles, OneIsFlushedBeforeItGetsItsNameAndAfter) {
  const fs::path file = folder_.Write("a/file", "old");
  files_.SaveAtomically(file, "new");
  EXPECT_THAT(Steps(), ElementsAre("write .file.fieldpost-new", "permissions .file.fieldpost-new", "flush a",
                                   "rename .file.fieldpost-new", "flush a"));
  EXPECT_EQ(test::ReadFile(file), "new");
}

TEST_F(ReplacingFiles, ManyAreFlushedTogether) {
  const std::array files{folder_.Write("a/one", "old"), folder_.Write("a/two", "old")};
  for (const fs::path& file : files) files_.WriteReplacement(file, "new");
  files_.ReplaceAll(files);
  EXPECT_THAT(Steps(), ElementsAre("write .one.fieldpost-new", "permissions .one.fieldpost-new",
                                   "write .two.fieldpost-new", "permissions .two.fieldpost-new", "flush a",
                                   "rename .one.fieldpost-new", "rename .two.fieldpost-new", "flush a"));
}

TEST_F(ReplacingFiles, OfEachFolderIsFlushed) {
  const std::array files{folder_.Write("a/one", "old"), folder_.Write("b/two", "old")};
  for (const fs::path& file : files) files_.WriteReplacement(file, "new");
  files_.ReplaceAll(files);
  for (const Change& change : trace_) {
    if (change.what == "flush") {
      EXPECT_THAT(change.flushed, ElementsAre(folder_.Path() / "a", folder_.Path() / "b"));
    }
  }
}

TEST_F(ReplacingFiles, WhatAnEarlierRunLeftBesideOneIsReplaced) {
  const fs::path file = folder_.Write("a/file", "old");
  folder_.Write("a/.file.fieldpost-new", "left over");
  files_.SaveAtomically(file, "new");
  EXPECT_EQ(test::ReadFile(file), "new");
  EXPECT_THAT(test::Names(folder_.Path() / "a"), ElementsAre("file"));
}

TEST_F(ReplacingFiles, OneKeepsItsPermissionsUnlessItIsForItsOwnerAlone) {
  struct Row {
    FileAccess access;
    fs::perms expected;
  };
  for (const Row& row :
       {Row{FileAccess::ByUmask, fs::perms(0640)}, Row{FileAccess::OwnerOnly, fs::perms(0600)}}) {
    const fs::path file = folder_.Write("a/file", "old");
    fs::permissions(file, fs::perms(0640));
    files_.SaveAtomically(file, "new", row.access);
    EXPECT_EQ(fs::status(file).permissions(), row.expected);
  }
}

TEST_F(ReplacingFiles, AFailureIsTheCallersAndLeavesNothingBesideThem) {
  for (const std::string failing : {"write", "flush", "rename", "permissions"}) {
    const std::array files{folder_.Write("a/one", "old"), folder_.Write("a/two", "old")};
    files_.before = [&](const Change& change) {
      if (change.what == failing && change.path.filename() != ".one.fieldpost-new") {
        throw FileError("cannot do", change.path, "no space left");
      }
    };
    const auto replace = [&] {
      for (const fs::path& file : files) files_.WriteReplacement(file, "new");
      files_.ReplaceAll(files);
    };
    EXPECT_THROW(replace(), FileError) << failing;
    files_.before = [](const Change&) {};
    if (failing == "write" || failing == "permissions") files_.ReplaceAll({files.data(), 1});
    EXPECT_THAT(test::Names(folder_.Path() / "a"), ElementsAre("one", "two")) << failing;
    EXPECT_EQ(test::ReadFile(files[1]), "old") << failing;
  }
}

}  // namespace
}  // namespace fieldpost
