// Latest files that are filed together: all of them, or none.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "common/StatusDisplay.h"
#include "environment/RunContext.h"
#include "faultlog/CombinedDocument.h"
#include "faultlog/FaultloggerFile.h"
#include "faultlog/FilingTransaction.h"
#include "faultlog/StagedArchive.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The result of a step of filing.
struct FilingOutcome {
  bool succeeded = true;            ///< False when a batch could not be filed; the log says why.
  std::optional<FiledBatch> batch;  ///< the batch that this step filed; empty while the batch grows
};

/// Gathers accepted files, and files them as one batch for each combined document.
///
/// Until a batch is committed (see FilingTransaction), it has only written files with temporary names. What
/// is not committed when this object ends is rolled back.
class FilingBatch {
 public:
  /// `display` processes events while a batch is published.
  FilingBatch(const RunContext& run, StatusDisplay& display);

  /// Adds a complete file, which was read from `source` as `content`, to be archived as `target`; when that
  /// exists already, the file is merged into it and its running numbers change. Files the batch when this
  /// file takes the combined document beyond its limit. Throws FileError when the file cannot be added; the
  /// batch is then as before, and the file stays in its Latest folder.
  [[nodiscard]] FilingOutcome Add(FaultloggerFile& file, const FileContent& content,
                                  const std::filesystem::path& source, const std::filesystem::path& target);

  /// Files what was added since the last batch was filed, if anything was.
  [[nodiscard]] FilingOutcome Finish();

  /// Writes the combined document of a closed text, named by the hour and marked "Not Sent", and files the
  /// batch with it. When that fails, the log says why, and the batch is either rolled back or, once it is
  /// committed, left to the next run's recovery.
  [[nodiscard]] FilingOutcome SaveCombinedDocument(ClosedText closed);

  /// Forgets the batch; its files stay in their Latest folders.
  void RollBack() noexcept;

 private:
  [[nodiscard]] FilingOutcome SaveIfClosed(std::optional<ClosedText> closed);
  [[nodiscard]] FilingJournal Commit(std::string_view documentText);
  [[nodiscard]] FilingJournal::Staged StageDocument(const std::filesystem::path& document,
                                                    std::string_view text);
  [[nodiscard]] FilingOutcome Fail(std::string_view reason);

  RunContext run_;
  FilingFolders folders_;
  StagedArchive archive_;
  CombinedDocument document_;
  std::vector<FilingJournal::Source> sources_;
  FilingTransaction transaction_;
};

}  // namespace fieldpost
