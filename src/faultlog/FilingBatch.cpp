#include "faultlog/FilingBatch.h"

#include <fmt/format.h>

#include <utility>

#include "faultlog/ProcessDocuments.h"

namespace fieldpost {

namespace fs = std::filesystem;

FilingBatch::FilingBatch(const RunContext& run, StatusDisplay& display)
    : run_(run),
      folders_(FilingFoldersOf(run)),
      archive_(run.files, folders_.archive),
      transaction_(run.files, folders_, display) {}

FilingOutcome FilingBatch::Add(FaultloggerFile& file, const FileContent& content, const fs::path& source,
                               const fs::path& target) {
  archive_.Add(file, content.stamp, source, target);
  sources_.push_back({.path = source, .content = HashContent(content.bytes), .stamp = content.stamp});
  return SaveIfClosed(document_.AppendToCombinedDocument(&file, false));
}

FilingOutcome FilingBatch::Finish() {
  return SaveIfClosed(document_.AppendToCombinedDocument(nullptr, true));
}

FilingOutcome FilingBatch::SaveIfClosed(std::optional<ClosedText> closed) {
  if (!closed) return {};
  return SaveCombinedDocument(std::move(*closed));
}

FilingOutcome FilingBatch::SaveCombinedDocument(ClosedText closed) {
  const DocumentText document = DocumentFromClosedText(std::move(closed));
  if (!document.reason.empty()) return Fail(fmt::format("Parser error: {}", document.reason));
  try {
    const FilingJournal journal = Commit(document.text);
    transaction_.Publish(journal);
    return {.succeeded = true,
            .batch =
                FiledBatch{.files = journal.sources.size(),
                           .document = {.path = journal.document, .content = journal.staged.back().content}}};
  } catch (const FileError& error) {
    return Fail(error.what());
  }
}

/// Stages the document and commits the batch; the journal is then all that is known of it. On failure nothing
/// staged is left.
FilingJournal FilingBatch::Commit(std::string_view documentText) {
  const fs::path document = NextDocumentPath(run_, folders_.process);
  FilingJournal journal{.superseded = SupersededBy(run_.files, document),
                        .staged = archive_.Take(),
                        .sources = std::exchange(sources_, {}),
                        .document = document};
  try {
    journal.staged.push_back(StageDocument(document, documentText));
    transaction_.Commit(journal);
  } catch (const FileError&) {
    RemoveStaged(run_.files, journal.staged);
    throw;
  }
  return journal;
}

FilingJournal::Staged FilingBatch::StageDocument(const fs::path& document, std::string_view text) {
  const fs::path temporary = TemporaryNameFor(document);
  run_.files.Remove(temporary);  // an interrupted run may have left one
  run_.files.WriteNew(temporary, text, FileAccess::ByUmask);
  return {.temporary = temporary, .target = document, .content = HashContent(text)};
}

FilingOutcome FilingBatch::Fail(std::string_view reason) {
  RollBack();
  run_.log.WriteLog(reason, LogCategory::Error);
  return {.succeeded = false, .batch = std::nullopt};
}

void FilingBatch::RollBack() noexcept {
  archive_.RollBack();
  document_ = {};
  sources_.clear();
}

}  // namespace fieldpost
