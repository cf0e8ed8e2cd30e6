// A site for batches of Latest files, and what they leave.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "faultlog/FilingBatch.h"
#include "support/ScanSite.h"
#include "support/TracedFileSystem.h"

namespace fieldpost::test {

/// A batch over files of which any change can be made to fail.
struct BatchSite : ScanSite {
  Trace trace;
  TracedFileSystem traced{files, trace};
  RunContext run{traced, clock, program.paths, program.settings, program.log};

  [[nodiscard]] FilingBatch Batch() { return {run, display}; }

  /// Adds a new Latest file to a batch, to be filed as product A's file of the same name.
  std::filesystem::path Add(FilingBatch& batch, const std::string& name, std::string_view text) {
    std::filesystem::path source = Latest(name, FaultlogXml("A", "F", "20040101", text));
    const std::optional<FileContent> content = files.ReadFinished(source, AnySize);
    FaultloggerFile file;
    EXPECT_TRUE(file.Load(content->bytes));
    EXPECT_TRUE(batch.Add(file, *content, source, Tree("Archive") / "A" / name).succeeded);
    return source;
  }

  void FailAt(std::string_view what, std::string_view ending) {
    traced.before = [what, ending](const Change& change) {
      if (change.what == what && Utf8FromPath(change.path).ends_with(ending)) {
        throw FileError("cannot do", change.path, "no space left on device");
      }
    };
  }

  /// Everything but folders below the Archive and in the Process folder.
  [[nodiscard]] std::vector<std::string> Left() const {
    std::vector<std::string> names;
    for (const char* folderName : {"Archive", "Process"}) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(Tree(folderName))) {
        if (!entry.is_directory()) names.push_back(Utf8FromPath(entry.path().filename()));
      }
    }
    std::sort(names.begin(), names.end());
    return names;
  }
};

/// How many files a step has filed.
inline std::size_t Filed(const FilingOutcome& outcome) {
  EXPECT_TRUE(outcome.succeeded);
  return outcome.batch ? outcome.batch->files : 0;
}

}  // namespace fieldpost::test
