// Processes the Latest folders: from the files that devices left to the Archive and the combined documents.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "common/RunFlags.h"
#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "common/UserPrompt.h"
#include "environment/FolderTree.h"
#include "environment/RunContext.h"
#include "faultlog/FilingBatch.h"
#include "faultlog/LatestFiles.h"
#include "outbox/MailSettingsCheck.h"
#include "outbox/SendLoop.h"

namespace fieldpost {

/// The result of a scan.
struct ScanResult {
  bool began = false;          ///< The Latest folders were processed, at least in part.
  bool cancelled = false;      ///< The user cancelled; the files that were left stay in their folders.
  bool succeeded = true;       ///< All was done. A file that is in Error or not finished yet is no failure.
  std::size_t okCount = 0;     ///< files that were filed
  std::size_t errorCount = 0;  ///< files that were moved to the Error folder
  std::string problem;         ///< the first failure of collecting, in one line; empty when there was none
};

/// The result of recovering an interrupted run.
struct RecoveryResult {
  bool succeeded = true;  ///< False: nothing may be filed or sent.
  std::string problem;    ///< why recovering failed, in one line
};

/// The parts of the program that a scan calls. All of them outlive it.
struct ScanParts {
  FolderTree& tree;
  MailSettingsCheck& check;
  SendLoop& sendLoop;
  UserPrompt& prompt;
};

/// Files every finished file of the Latest folders into the Archive by product code and into combined
/// documents, moves what is not a faultlogger file to the Error folder, and reports.
class LatestScan {
 public:
  LatestScan(const RunContext& run, const RunFlags& flags, RunLists& lists, const ScanParts& parts);

  /// Recovers an interrupted run, processes the Latest folders, reports, and adds the documents that it wrote
  /// to `PendingFiles`. Then sends when the run is to do that and `PendingFiles` is not empty. Does nothing
  /// when a setting for mail is missing. `display` is used only when messages may be shown. When the user
  /// cancels, the scan ends after the current file, and nothing is sent.
  [[nodiscard]] ScanResult ProcessLatestFiles(StatusDisplay& display);

  /// Completes what an interrupted run had committed, and renames documents that were set aside, as far as
  /// this hour has names for them; adds both to `PendingFiles`. What fails is logged.
  [[nodiscard]] RecoveryResult RecoverInterruptedRun();

 private:
  void CollectAndFile(ScanResult& result, StatusDisplay& shown);
  void FileAll(const LatestFiles& latest, ScanResult& result, StatusDisplay& shown);
  bool FileEach(const LatestFiles& latest, FilingBatch& batch, ScanResult& result, StatusDisplay& shown);
  bool Queue(const FilingOutcome& filing, ScanResult& result);
  void Report(const ScanResult& result, StatusDisplay& shown);
  void ReportNothing(StatusDisplay& shown);
  void Fail(std::string_view problem, ScanResult& result);

  RunContext run_;
  const RunFlags& flags_;
  RunLists& lists_;
  ScanParts parts_;
};

}  // namespace fieldpost
