// The heart of faultlog processing: from the Latest folders into the Archive.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/RunFlags.h"
#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "common/UserPrompt.h"
#include "environment/FolderTree.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "faultlog/CombinedDocument.h"
#include "faultlog/FilingBatch.h"
#include "outbox/MailSettingsCheck.h"
#include "outbox/SendLoop.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Files every ready file of the Latest folders into the Archive by product code and into combined documents,
/// moves what cannot be read to the Error folder, and reports.
class LatestScan {
 public:
  LatestScan(FileSystem& files, const Clock& clock, const InstallPaths& paths, const MailSettings& settings,
             const RunFlags& flags, RunLists& lists, FolderTree& tree, ModWriteLogFile& log,
             MailSettingsCheck& check, SendLoop& sendLoop, UserPrompt& prompt);

  /// The whole scan; `display` is touched only when messages may be shown. Then sends what was queued, when
  /// the run is to do that. What it did is told by the log and Succeeded(). When the person at the screen
  /// wants the end, the files after the one in hand stay in their folders, and nothing is sent.
  void ProcessLatestFiles(StatusDisplay& display);

  /// Finds the files to process. True when there are any.
  bool CollectLatestFiles();

  /// Ends what an interrupted run had begun, and gives documents that had to make room for others a name
  /// again. False when that could not be done; nothing may be filed then.
  bool FinishInterruptedRun();

  /// Whether the Latest folders were worked through, be it in part. They are not when a setting is missing or
  /// an interrupted run could not be finished.
  [[nodiscard]] bool Began() const { return began_; }

  /// Whether files were left because the person at the screen wanted the end.
  [[nodiscard]] bool Stopped() const { return stopped_; }

  /// The first failure of this scan that the log alone tells of, in one line; empty when there was none.
  [[nodiscard]] const std::string& Problem() const { return problem_; }

  /// Whether everything that this scan set out to do was done. Files that were moved to the Error folder, or
  /// that are not ready yet, are no failure.
  [[nodiscard]] bool Succeeded() const { return succeeded_; }

 private:
  struct LatestFile {
    std::uint32_t folder;  ///< place in LatestFolderList
    std::string name;
  };

  void Begin();
  void FileAll(StatusDisplay& shown);
  bool FileEach(FilingBatch& batch, CombinedDocument& combined, StatusDisplay& shown);
  bool ProcessFile(const LatestFile& latest, FilingBatch& batch, CombinedDocument& combined,
                   StatusDisplay& shown);
  void RefuseFullArchived(const std::filesystem::path& target) const;
  bool MoveToError(const std::filesystem::path& source, std::string_view reason, StatusDisplay& shown);
  void ShowStatus(std::string_view text, StatusDisplay& shown) const;
  void Report(StatusDisplay& shown);
  void Fail(std::string_view text);
  [[nodiscard]] std::filesystem::path SourcePath(const LatestFile& file) const;
  static std::vector<LatestFile> NamesakesTogether(std::vector<LatestFile> files);

  FileSystem& files_;
  const Clock& clock_;
  const InstallPaths& paths_;
  const MailSettings& settings_;
  const RunFlags& flags_;
  RunLists& lists_;
  FolderTree& tree_;
  ModWriteLogFile& log_;
  MailSettingsCheck& check_;
  SendLoop& sendLoop_;
  UserPrompt& prompt_;
  std::vector<LatestFile> latestFiles_;
  std::vector<bool> mayRemove_;  // for each Latest folder
  std::string archive_;          // the Archive folder, with its separator
  std::size_t okCount_ = 0;
  std::size_t errorCount_ = 0;
  bool began_ = false;
  bool stopped_ = false;
  bool succeeded_ = true;
  std::string problem_;
};

/// Why a product code cannot name a folder of the Archive; empty when it can. It must be one plain folder
/// name on every system that the program runs on.
std::string_view ProductCodeFault(std::string_view productCode);

}  // namespace fieldpost
