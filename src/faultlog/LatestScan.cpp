#include "faultlog/LatestScan.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

#include "common/Limits.h"
#include "common/PathText.h"
#include "common/Text.h"
#include "environment/ProcessFolder.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view MissingProductFolder = "Missing";

/// From so many namesakes on they are worked through in one go, so that their archived file is read and
/// written once; below it the order of the folders holds.
constexpr std::size_t ManyNamesakes = 8;

std::string ErrorPlace(const fs::path& source) {
  return fmt::format("[..\\Error\\{}]", EscapeControls(Utf8FromPath(source.filename())));
}

}  // namespace

std::string_view ProductCodeFault(std::string_view productCode) {
  if (productCode == "." || productCode == "..") return "the product code is no folder name";
  if (productCode.find_first_of("/\\") != std::string_view::npos) return "the product code holds a separator";
  if (HoldsControl(productCode)) return "the product code holds a control character";
  if (productCode.size() > MaxFilenameBytes) return "the product code is too long for a folder name";
  return {};
}

LatestScan::LatestScan(FileSystem& files, const Clock& clock, const InstallPaths& paths,
                       const MailSettings& settings, const RunFlags& flags, RunLists& lists, FolderTree& tree,
                       ModWriteLogFile& log, MailSettingsCheck& check, SendLoop& sendLoop, UserPrompt& prompt)
    : files_(files),
      clock_(clock),
      paths_(paths),
      settings_(settings),
      flags_(flags),
      lists_(lists),
      tree_(tree),
      log_(log),
      check_(check),
      sendLoop_(sendLoop),
      prompt_(prompt) {}

void LatestScan::ProcessLatestFiles(StatusDisplay& display) {
  StatusDisplay silent;
  StatusDisplay& shown = flags_.ShowMessages ? display : silent;
  Begin();
  succeeded_ = check_.CheckSendSettings();
  if (!succeeded_) return;
  if (!FinishInterruptedRun()) return;
  began_ = true;
  if (CollectLatestFiles()) FileAll(shown);
  Report(shown);
  if (lists_.PendingFiles.empty() || !flags_.SendAfterCollect || stopped_) return;
  if (!sendLoop_.SendQueuedFaultlogs()) succeeded_ = false;
}

void LatestScan::Begin() {
  okCount_ = 0;
  errorCount_ = 0;
  began_ = false;
  stopped_ = false;
  problem_.clear();
}

bool LatestScan::FinishInterruptedRun() {
  try {
    StatusDisplay silent;
    FilingBatch batch(files_, PathFromUtf8(settings_.ArchiveFolder), ProcessFolder(files_, paths_, settings_),
                      silent);
    PathList documents;
    const std::size_t filed = batch.FinishInterrupted(documents);
    for (const fs::path& document : documents)
      lists_.PendingFiles.push_back({.path = document, .content = {}});
    if (filed > 0) {
      log_.WriteLog(fmt::format("Recovered {} files from an interrupted run", filed),
                    LogCategory::SearchLatest);
    }
    CombinedDocument(files_, clock_, settings_, lists_, log_, silent, batch,
                     ProcessFolder(files_, paths_, settings_))
        .RestoreDisplacedDocuments();
    return true;
  } catch (const FileError& error) {
    Fail(error.what());
    return false;
  }
}

bool LatestScan::CollectLatestFiles() {
  latestFiles_.clear();
  mayRemove_.clear();
  if (lists_.LatestFolderList.empty()) {
    Fail("Latest directory dosen't set up");
    return false;
  }
  for (std::uint32_t folder = 0; folder < lists_.LatestFolderList.size(); ++folder) {
    const fs::path& path = lists_.LatestFolderList[folder];
    mayRemove_.push_back(files_.MayRemoveFrom(path));
    if (!files_.IsFolder(path)) continue;
    try {
      for (std::string& name : files_.ListFiles(path, ".xml"))
        latestFiles_.push_back({folder, std::move(name)});
    } catch (const FileError& error) {
      Fail(error.what());
    }
  }
  return !latestFiles_.empty();
}

std::vector<LatestScan::LatestFile> LatestScan::NamesakesTogether(std::vector<LatestFile> files) {
  std::unordered_map<std::string_view, std::vector<std::size_t>> places;
  for (std::size_t i = 0; i < files.size(); ++i) places[files[i].name].push_back(i);
  std::vector<std::size_t> order;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const std::vector<std::size_t>& namesakes = places[files[i].name];
    if (namesakes.size() < ManyNamesakes) {
      order.push_back(i);
    } else if (namesakes.front() == i) {
      order.insert(order.end(), namesakes.begin(), namesakes.end());
    }
  }
  std::vector<LatestFile> result;
  result.reserve(files.size());
  for (const std::size_t i : order) result.push_back(std::move(files[i]));
  return result;
}

void LatestScan::FileAll(StatusDisplay& shown) {
  if (lists_.LatestFolderList.size() > 1) latestFiles_ = NamesakesTogether(std::move(latestFiles_));
  ShowStatus("Process latest files...", shown);
  shown.SetRange(latestFiles_.size());
  archive_ = WithSeparator(settings_.ArchiveFolder);
  FilingBatch batch(files_, PathFromUtf8(archive_), ProcessFolder(files_, paths_, settings_), shown);
  CombinedDocument combined(files_, clock_, settings_, lists_, log_, shown, batch,
                            ProcessFolder(files_, paths_, settings_));
  if (!FileEach(batch, combined, shown) || !combined.AppendToCombinedDocument(nullptr, true)) {
    succeeded_ = false;
    if (problem_.empty()) problem_ = "The files could not be filed; the log says why";
  }
  okCount_ = combined.FiledCount();
  latestFiles_.clear();
}

/// False when what was accepted could not be published.
bool LatestScan::FileEach(FilingBatch& batch, CombinedDocument& combined, StatusDisplay& shown) {
  for (std::size_t i = 0; i < latestFiles_.size(); ++i) {
    if (shown.IsCancelled()) {
      stopped_ = true;
      succeeded_ = false;
      return true;
    }
    shown.SetLabel(
        fmt::format("{} {}%", EscapeControls(latestFiles_[i].name), i * 100 / latestFiles_.size()));
    if (!ProcessFile(latestFiles_[i], batch, combined, shown)) return false;
    shown.SetPosition(i + 1);
    shown.ProcessEvents();
  }
  return true;
}

/// False when the scan must stop: what was accepted could not be published.
bool LatestScan::ProcessFile(const LatestFile& latest, FilingBatch& batch, CombinedDocument& combined,
                             StatusDisplay& shown) {
  const fs::path source = SourcePath(latest);
  try {
    const std::optional<FileContent> content = files_.ReadFinished(source, MaxFaultloggerFileBytes);
    if (!content) return true;
    FaultloggerFile file;
    if (!file.Load(content->bytes)) return MoveToError(source, file.Reason(), shown);
    if (!file.IsComplete()) return MoveToError(source, {}, shown);
    if (!file.ReadyToFile(clock_.Now())) return true;

    const std::string productCode = file.ProductCode();
    const std::string_view fault = ProductCodeFault(productCode);
    if (!fault.empty()) return MoveToError(source, fault, shown);
    if (!mayRemove_.at(latest.folder)) {
      throw FileError("cannot file", source, "it could not be removed from its folder afterwards");
    }
    file.SetProcessMode();
    const std::string_view productFolder = productCode.empty() ? MissingProductFolder : productCode;
    const fs::path target =
        PathFromUtf8(fmt::format("{}{}{}{}", archive_, productFolder, PathSeparator, latest.name));
    RefuseFullArchived(target);
    batch.Accept(file, *content, source, target);
    return combined.AppendToCombinedDocument(&file, false);
  } catch (const FileTooLarge&) {
    return MoveToError(source, fmt::format("larger than {} bytes", MaxFaultloggerFileBytes), shown);
  } catch (const FileError& error) {
    Fail(error.what());
  }
  return true;
}

/// Before it is read: memory for it may not be there.
void LatestScan::RefuseFullArchived(const fs::path& target) const {
  const std::optional<FileStamp> stamp = files_.RegularFileStamp(target);
  if (!stamp || stamp->size <= MaxArchivedFileBytes) return;
  throw FileError(
      "cannot merge into", target,
      fmt::format("larger than {} bytes; move it out of the Archive folder", MaxArchivedFileBytes));
}

/// A file without a reason is told of by the counts alone.
bool LatestScan::MoveToError(const fs::path& source, std::string_view reason, StatusDisplay& shown) {
  const std::string place = ErrorPlace(source);
  if (reason.empty()) {
    ShowStatus(place, shown);
  } else {
    const std::string line = Replaced(reason, "\n", "");
    log_.WriteLog(fmt::format("Reason: {}{}", line, place), LogCategory::Error);
    ShowStatus(fmt::format("{}\r\n{}", line, place), shown);
  }
  try {
    files_.Move(source, tree_.PrepareErrorFolder(source) / source.filename());
    ++errorCount_;
  } catch (const FileError& error) {
    Fail(error.what());
  }
  return true;
}

void LatestScan::ShowStatus(std::string_view text, StatusDisplay& shown) const {
  shown.ShowStatusLine(text);
}

void LatestScan::Report(StatusDisplay& shown) {
  const bool nothingFiled = okCount_ == 0 && errorCount_ == 0;
  if (nothingFiled && stopped_) return;
  if (nothingFiled) {
    constexpr std::string_view nothing = " 0 Files found in Latest folder(s)";
    log_.WriteLog(nothing, LogCategory::SearchLatest);
    ShowStatus(nothing, shown);
    if (flags_.ShowMessages) {
      prompt_.ShowMessage("Faultlogger files not found in Latest folder(s)", MessageIcon::Information,
                          "FP Faultlogger");
    }
    return;
  }
  const std::string ok = fmt::format("Found {} OK files", okCount_);
  if (errorCount_ == 0) {
    log_.WriteLog(ok, LogCategory::SearchLatest);
    ShowStatus(ok, shown);
    return;
  }
  const std::string errors = fmt::format("Found {} Error files", errorCount_);
  log_.WriteLog(fmt::format("{}           \r\n{}", ok, errors), LogCategory::SearchLatest);
  ShowStatus(fmt::format("{}\r\n{}", ok, errors), shown);
}

void LatestScan::Fail(std::string_view text) {
  succeeded_ = false;
  if (problem_.empty()) problem_ = text;
  log_.WriteLog(text, LogCategory::Error);
}

fs::path LatestScan::SourcePath(const LatestFile& file) const {
  return lists_.LatestFolderList[file.folder] / PathFromUtf8(file.name);
}

}  // namespace fieldpost
