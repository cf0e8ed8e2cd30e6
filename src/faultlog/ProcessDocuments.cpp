#include "faultlog/ProcessDocuments.h"

#include <fmt/format.h>

#include <string>

#include "common/DocumentNames.h"
#include "common/Limits.h"
#include "common/PathText.h"
#include "outbox/WaitingDocument.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view SetAsideEnding = ".displaced";

/// What the names of this hour's documents begin with.
std::string HourStem(const RunContext& run) {
  return DocumentStem(FaultlogPrefix, run.settings.PartnerID, run.clock.Now());
}

}  // namespace

int NextProcessSequence(const FileSystem& files, std::string_view stem, const fs::path& folder) {
  return NextDocumentNumber(stem, files.ListFiles(folder, ".xml"));
}

fs::path NextDocumentPath(const RunContext& run, const fs::path& folder) {
  const std::string stem = HourStem(run);
  return folder / DocumentName(stem, NextProcessSequence(run.files, stem, folder));
}

std::optional<FilingJournal::Superseded> SupersededBy(const FileSystem& files, const fs::path& document) {
  if (!files.IsFile(document) || !IsWaitingDocument(files, document)) return std::nullopt;
  for (int number = 1;; ++number) {
    fs::path setAside = document;
    setAside += fmt::format(".{}{}", number, SetAsideEnding);
    if (!files.Exists(setAside)) return FilingJournal::Superseded{.from = document, .to = setAside};
  }
}

std::vector<PendingFile> RestoreSupersededDocuments(const RunContext& run, const fs::path& folder) {
  std::vector<PendingFile> restored;
  for (const std::string& name : run.files.ListFiles(folder, SetAsideEnding)) {
    const std::string stem = HourStem(run);
    const int number = NextProcessSequence(run.files, stem, folder);
    if (number >= MaxDocumentsAnHour) break;
    const fs::path document = folder / DocumentName(stem, number);
    run.files.Rename(folder / PathFromUtf8(name), document);
    restored.push_back({.path = document, .content = std::nullopt});
  }
  return restored;
}

}  // namespace fieldpost
