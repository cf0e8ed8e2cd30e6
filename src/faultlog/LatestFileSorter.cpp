#include "faultlog/LatestFileSorter.h"

#include <fmt/format.h>

#include <optional>

#include "common/Limits.h"
#include "common/PathText.h"
#include "common/Text.h"
#include "faultlog/ArchivedFile.h"
#include "faultlog/FaultloggerFile.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view MissingProductFolder = "Missing";

/// Refuses, before it is read, an archived file that there may not be enough memory for.
void RefuseFullArchived(const FileSystem& files, const fs::path& target) {
  const std::optional<FileStamp> stamp = files.RegularFileStamp(target);
  if (!stamp || stamp->size <= MaxArchivedFileBytes) return;
  throw FileError(
      "cannot merge into", target,
      fmt::format("larger than {} bytes; move it out of the Archive folder", MaxArchivedFileBytes));
}

}  // namespace

std::string_view ProductCodeFault(std::string_view productCode) {
  if (productCode == "." || productCode == "..") return "the product code is no folder name";
  if (productCode.find_first_of("/\\") != std::string_view::npos) return "the product code holds a separator";
  if (HoldsControl(productCode)) return "the product code holds a control character";
  if (productCode.size() > MaxFilenameBytes) return "the product code is too long for a folder name";
  return {};
}

LatestFileSorter::LatestFileSorter(const RunContext& run, FolderTree& tree, FilingBatch& batch,
                                   StatusDisplay& display)
    : run_(run),
      tree_(tree),
      batch_(batch),
      display_(display),
      archiveFolder_(WithSeparator(run.settings.ArchiveFolder)) {}

SortedFile LatestFileSorter::Sort(const LatestFolder& folder, const std::string& name) {
  const fs::path source = folder.path / PathFromUtf8(name);
  try {
    const std::optional<FileContent> content = run_.files.ReadFinished(source, MaxFaultloggerFileBytes);
    if (!content) return {};
    return SortContent(*content, folder, source);
  } catch (const FileTooLarge&) {
    return MoveToError(source, fmt::format("larger than {} bytes", MaxFaultloggerFileBytes));
  } catch (const FileError& error) {
    return {.movedToError = false, .problem = error.what(), .filing = {}};
  }
}

SortedFile LatestFileSorter::SortContent(const FileContent& content, const LatestFolder& folder,
                                         const fs::path& source) {
  FaultloggerFile file;
  if (!file.Load(content.bytes)) return MoveToError(source, file.Reason());
  if (!file.IsComplete()) return MoveToError(source, {});
  if (!file.ReadyToFile(run_.clock.Now())) return {};
  const std::string productCode = file.ProductCode();
  const std::string_view fault = ProductCodeFault(productCode);
  if (!fault.empty()) return MoveToError(source, fault);
  if (!folder.canRemoveFrom) {
    throw FileError("cannot file", source, "it could not be removed from its folder afterwards");
  }
  file.SetProcessMode();
  const fs::path target = TargetOf(source, productCode);
  RefuseFullArchived(run_.files, target);
  return {.movedToError = false, .problem = {}, .filing = batch_.Add(file, content, source, target)};
}

fs::path LatestFileSorter::TargetOf(const fs::path& source, std::string_view productCode) const {
  const std::string_view productFolder = productCode.empty() ? MissingProductFolder : productCode;
  return PathFromUtf8(
      fmt::format("{}{}{}{}", archiveFolder_, productFolder, PathSeparator, Utf8FromPath(source.filename())));
}

/// A file that loads but is not complete has no reason: it is only counted in the report.
SortedFile LatestFileSorter::MoveToError(const fs::path& source, std::string_view reason) {
  const std::string place = fmt::format("[..\\Error\\{}]", EscapeControls(Utf8FromPath(source.filename())));
  if (reason.empty()) {
    display_.ShowStatusLine(place);
  } else {
    const std::string line = Replaced(reason, "\n", "");
    run_.log.WriteLog(fmt::format("Reason: {}{}", line, place), LogCategory::Error);
    display_.ShowStatusLine(fmt::format("{}\r\n{}", line, place));
  }
  try {
    run_.files.Move(source, tree_.PrepareErrorFolder(source) / source.filename());
    return {.movedToError = true, .problem = {}, .filing = {}};
  } catch (const FileError& error) {
    return {.movedToError = false, .problem = error.what(), .filing = {}};
  }
}

}  // namespace fieldpost
