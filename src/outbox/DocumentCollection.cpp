#include "outbox/DocumentCollection.h"

#include <fmt/format.h>

#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "common/Limits.h"
#include "common/PathText.h"
#include "common/Text.h"
#include "outbox/DocumentMode.h"
#include "outbox/SendJournal.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

/// Returns the documents to look at, each once, with the hashes that are known.
std::vector<PendingFile> Candidates(const FileSystem& files, const CollectionSource& source) {
  std::unordered_map<fs::path::string_type, std::optional<ContentHash>> known;
  for (const PendingFile& pending : source.pending)
    known.insert_or_assign(pending.path.native(), pending.content);
  std::vector<PendingFile> candidates;
  std::unordered_set<fs::path::string_type> taken;
  const auto add = [&](const fs::path& path) {
    if (!taken.insert(path.native()).second) return;
    const auto found = known.find(path.native());
    candidates.push_back({.path = path, .content = found == known.end() ? std::nullopt : found->second});
  };
  if (files.IsFolder(source.folder)) {
    for (const std::string& name : files.ListFiles(source.folder, ".xml"))
      add(source.folder / PathFromUtf8(name));
  }
  for (const PendingFile& pending : source.pending) {
    if (files.IsFile(pending.path)) add(pending.path);
  }
  return candidates;
}

/// Returns the hash of a document that waits.
std::optional<ContentHash> WaitingContent(const FileSystem& files, const PendingFile& candidate,
                                          std::size_t lines, StatusDisplay& display) {
  if (!candidate.content) return HashIfWaiting(files, candidate.path, lines, display);
  const std::optional<FileStamp> stamp = files.RegularFileStamp(candidate.path);
  if (stamp && stamp->size > MaxDocumentBytes) throw FileTooLarge(candidate.path, MaxDocumentBytes);
  return stamp ? candidate.content : std::nullopt;
}

}  // namespace

CollectedDocuments CollectWaitingDocuments(FileSystem& files, const CollectionSource& source,
                                           StatusDisplay& display) {
  const SentDocuments unmarked = SendJournal(files).Read(source.folder);
  const std::vector<PendingFile> candidates = Candidates(files, source);
  CollectedDocuments collected;
  display.SetRange(candidates.size());
  for (std::size_t i = 0; i < candidates.size() && !display.IsCancelled(); ++i) {
    const fs::path& path = candidates[i].path;
    try {
      const std::optional<ContentHash> content = WaitingContent(files, candidates[i], source.lines, display);
      if (content && !WasSent(unmarked, path, *content))
        collected.documents.push_back({.path = path, .content = content});
    } catch (const FileError& error) {
      collected.problems.emplace_back(error.what());
    }
    display.SetLabel(fmt::format("{} {}%", EscapeControls(Utf8FromPath(path.filename())),
                                 (i + 1) * 100 / candidates.size()));
    display.SetPosition(i + 1);
    display.ProcessEvents();
  }
  collected.cancelled = display.IsCancelled();
  return collected;
}

}  // namespace fieldpost
