#include "faultlog/LatestScan.h"

#include <fmt/format.h>

#include <optional>
#include <utility>
#include <vector>

#include "common/Text.h"
#include "faultlog/FilingFolders.h"
#include "faultlog/LatestFileSorter.h"
#include "faultlog/ProcessDocuments.h"

namespace fieldpost {

LatestScan::LatestScan(const RunContext& run, const RunFlags& flags, RunLists& lists, const ScanParts& parts)
    : run_(run), flags_(flags), lists_(lists), parts_(parts) {}

ScanResult LatestScan::ProcessLatestFiles(StatusDisplay& display) {
  ScanResult result;
  result.succeeded = parts_.check.CheckSendSettings();
  if (!result.succeeded) return result;
  RecoveryResult recovery = RecoverInterruptedRun();
  result.succeeded = recovery.succeeded;
  result.problem = std::move(recovery.problem);
  if (!result.succeeded) return result;

  StatusDisplay silent;
  StatusDisplay& shown = flags_.ShowMessages ? display : silent;
  result.began = true;
  CollectAndFile(result, shown);
  Report(result, shown);
  if (lists_.PendingFiles.empty() || !flags_.SendAfterCollect || result.cancelled) return result;
  if (!parts_.sendLoop.SendQueuedFaultlogs()) result.succeeded = false;
  return result;
}

RecoveryResult LatestScan::RecoverInterruptedRun() {
  StatusDisplay silent;
  const FilingFolders folders = FilingFoldersOf(run_);
  try {
    if (const std::optional<FiledBatch> batch = FilingTransaction(run_.files, folders, silent).Recover()) {
      lists_.PendingFiles.push_back(batch->document);
      if (batch->files > 0) {
        run_.log.WriteLog(fmt::format("Recovered {} files from an interrupted run", batch->files),
                          LogCategory::SearchLatest);
      }
    }
    const std::vector<PendingFile> restored = RestoreSupersededDocuments(run_, folders.process);
    lists_.PendingFiles.insert(lists_.PendingFiles.end(), restored.begin(), restored.end());
    return {};
  } catch (const FileError& error) {
    run_.log.WriteLog(error.what(), LogCategory::Error);
    return {.succeeded = false, .problem = error.what()};
  }
}

void LatestScan::CollectAndFile(ScanResult& result, StatusDisplay& shown) {
  if (lists_.LatestFolderList.empty()) return Fail("Latest directory dosen't set up", result);
  const LatestFiles latest = CollectLatestFiles(run_.files, lists_.LatestFolderList);
  for (const std::string& problem : latest.problems) Fail(problem, result);
  if (!latest.files.empty()) FileAll(latest, result, shown);
}

void LatestScan::FileAll(const LatestFiles& latest, ScanResult& result, StatusDisplay& shown) {
  shown.ShowStatusLine("Process latest files...");
  shown.SetRange(latest.files.size());
  FilingBatch batch(run_, shown);
  if (FileEach(latest, batch, result, shown)) Queue(batch.Finish(), result);
}

/// False when a batch could not be filed: what was accepted later would fail as well.
bool LatestScan::FileEach(const LatestFiles& latest, FilingBatch& batch, ScanResult& result,
                          StatusDisplay& shown) {
  LatestFileSorter sorter(run_, parts_.tree, batch, shown);
  for (std::size_t i = 0; i < latest.files.size(); ++i) {
    if (shown.IsCancelled()) {
      result.cancelled = true;
      result.succeeded = false;
      return true;
    }
    const LatestFile& file = latest.files[i];
    shown.SetLabel(fmt::format("{} {}%", EscapeControls(file.name), i * 100 / latest.files.size()));
    const SortedFile sorted = sorter.Sort(latest.folders[file.folder], file.name);
    if (sorted.movedToError) ++result.errorCount;
    if (!sorted.problem.empty()) Fail(sorted.problem, result);
    if (!Queue(sorted.filing, result)) return false;
    shown.SetPosition(i + 1);
    shown.ProcessEvents();
  }
  return true;
}

/// Counts and queues a batch that was filed. False when one could not be; the log says why.
bool LatestScan::Queue(const FilingOutcome& filing, ScanResult& result) {
  if (filing.batch) {
    result.okCount += filing.batch->files;
    lists_.PendingFiles.push_back(filing.batch->document);
  }
  if (filing.succeeded) return true;
  result.succeeded = false;
  if (result.problem.empty()) result.problem = "The files could not be filed; the log says why";
  return false;
}

void LatestScan::Report(const ScanResult& result, StatusDisplay& shown) {
  if (result.okCount == 0 && result.errorCount == 0) {
    if (!result.cancelled) ReportNothing(shown);
    return;
  }
  const std::string ok = fmt::format("Found {} OK files", result.okCount);
  if (result.errorCount == 0) {
    run_.log.WriteLog(ok, LogCategory::SearchLatest);
    shown.ShowStatusLine(ok);
    return;
  }
  const std::string errors = fmt::format("Found {} Error files", result.errorCount);
  run_.log.WriteLog(fmt::format("{}           \r\n{}", ok, errors), LogCategory::SearchLatest);
  shown.ShowStatusLine(fmt::format("{}\r\n{}", ok, errors));
}

void LatestScan::ReportNothing(StatusDisplay& shown) {
  constexpr std::string_view nothing = " 0 Files found in Latest folder(s)";
  run_.log.WriteLog(nothing, LogCategory::SearchLatest);
  shown.ShowStatusLine(nothing);
  if (!flags_.ShowMessages) return;
  parts_.prompt.ShowMessage("Faultlogger files not found in Latest folder(s)", MessageIcon::Information,
                            "FP Faultlogger");
}

void LatestScan::Fail(std::string_view problem, ScanResult& result) {
  result.succeeded = false;
  if (result.problem.empty()) result.problem = problem;
  run_.log.WriteLog(problem, LogCategory::Error);
}

}  // namespace fieldpost
