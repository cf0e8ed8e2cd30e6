#include "outbox/SentMarking.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "environment/ProcessFolder.h"
#include "outbox/SendProgress.h"
#include "platform/FileHash.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

bool HasDocument(const Shipment& shipment, const fs::path& path) {
  return std::any_of(shipment.documents.begin(), shipment.documents.end(),
                     [&](const PendingFile& document) { return document.path == path; });
}

}  // namespace

SentMarking::SentMarking(const RunContext& run, const Screen& screen)
    : run_(run), screen_(screen), journal_(run.files) {}

SentDocuments SentMarking::JournalFor(const Shipment& shipment) const {
  if (shipment.kind == DataKind::Ppc) return {};
  SentDocuments sent = journal_.Read(JournalFolder());
  for (const auto& [path, content] : shipment.documents) {
    if (!IsDocument(run_.files, path)) continue;
    sent.insert_or_assign(path, content ? *content : HashFile(run_.files, path, screen_.display));
  }
  return sent;
}

/// Crash safety, rule 10: nothing but this stands between the server's reply and the note.
void SentMarking::WriteJournal(const SentDocuments& sent) {
  if (sent.empty()) return;
  try {
    journal_.Write(JournalFolder(), sent);
  } catch (const std::exception& error) {
    run_.log.WriteLog(error.what(), LogCategory::Error);
  }
}

/// Crash safety, rule 11: only called for a shipment that went whole.
bool SentMarking::MarkSent(const Shipment& shipment, const SentDocuments& sent) {
  const MarkingResult marking = Mark(sent);
  for (const fs::path& changed : marking.changed) {
    if (!HasDocument(shipment, changed)) continue;
    const FileError line("cannot mark as sent", changed,
                         "it changed after it was collected; it is mailed again");
    run_.log.WriteLog(line.what(), LogCategory::Error);
  }
  return marking.failures.empty();
}

MarkingResult SentMarking::Mark(const SentDocuments& sent) {
  MarkingResult marking = MarkDocuments(run_.files, sent, [&](std::size_t done) {
    ShowSendProgress(screen_.display, "Marking what was sent...", done, sent.size());
    screen_.display.ProcessEvents();
  });
  for (const std::string& line : marking.unmarkable) run_.log.WriteLog(line, LogCategory::Error);
  for (const std::string& line : marking.failures) run_.log.WriteLog(line, LogCategory::Error);
  if (!marking.failures.empty()) {
    screen_.ShowMessage(marking.failures.front(), MessageIcon::Critical, "Error");
  }
  return marking;
}

bool SentMarking::RemoveJournal() {
  try {
    journal_.Remove(JournalFolder());
    return true;
  } catch (const FileError& error) {
    return Fail(error.what());
  }
}

SentMarking::Recovery SentMarking::MarkInterrupted() {
  if (!run_.files.IsFolder(JournalFolder())) return {.succeeded = true, .hadJournal = false, .marked = 0};
  try {
    const SentDocuments sent = journal_.Read(JournalFolder());
    // What the interrupted run marked may not be on the disk yet.
    const std::array folder{JournalFolder()};
    if (!sent.empty()) run_.files.Flush(folder);
    const MarkingResult marking = Mark(sent);
    return {.succeeded = marking.failures.empty(), .hadJournal = !sent.empty(), .marked = marking.marked};
  } catch (const FileError& error) {
    return {.succeeded = Fail(error.what()), .hadJournal = false, .marked = 0};
  }
}

bool SentMarking::Fail(std::string_view problem) {
  run_.log.WriteLog(problem, LogCategory::Error);
  screen_.ShowMessage(problem, MessageIcon::Critical, "Error");
  return false;
}

fs::path SentMarking::JournalFolder() const {
  return ProcessFolder(run_.files, run_.paths, run_.settings);
}

}  // namespace fieldpost
