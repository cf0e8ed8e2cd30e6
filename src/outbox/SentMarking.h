// Marks documents as sent once the mail server accepted them, also for a run that was interrupted.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string_view>

#include "common/Screen.h"
#include "environment/RunContext.h"
#include "outbox/DocumentMarking.h"
#include "outbox/SendJournal.h"
#include "outbox/Shipment.h"

namespace fieldpost {

/// The last step of a send of faultlogger documents. The send journal names the documents from the moment at
/// which the server accepted the last mail until all of them are marked; a run that ends in between is
/// finished by the next one.
class SentMarking {
 public:
  /// Everything that the arguments refer to must outlive the object.
  SentMarking(const RunContext& run, const Screen& screen);

  /// Returns what the journal must hold once the server has accepted the shipment: its documents, and those
  /// that an earlier send could not mark. Empty for PPC data. Called before the first mail, so that only the
  /// writing of the journal stands between the server's answer and the journal. Throws FileError.
  [[nodiscard]] SentDocuments JournalFor(const Shipment& shipment) const;

  /// Writes the journal. A failure is logged: the documents are marked all the same, and only a run that is
  /// interrupted before that mails them again.
  void WriteJournal(const SentDocuments& sent);

  /// Marks the documents that were mailed. A document that changed since it was collected is not marked,
  /// because its new content may not have been mailed; the log says so for the documents of `shipment`.
  /// Returns false when a document could not be read or written, which is logged and shown; the journal then
  /// keeps it from being mailed again.
  [[nodiscard]] bool MarkSent(const Shipment& shipment, const SentDocuments& sent);

  /// Removes the journal, once all documents in it are marked. Returns false when that fails, which is logged
  /// and shown.
  [[nodiscard]] bool RemoveJournal();

  /// What came of marking documents that an interrupted run had mailed.
  struct Recovery {
    bool succeeded = false;
    bool hadJournal = false;  ///< an interrupted run had mailed documents
    std::size_t marked = 0;
  };

  /// Marks the documents that the journal names and that still have the content that was mailed. The journal
  /// stays.
  [[nodiscard]] Recovery MarkInterrupted();

 private:
  [[nodiscard]] MarkingResult Mark(const SentDocuments& sent);
  bool Fail(std::string_view problem);
  [[nodiscard]] std::filesystem::path JournalFolder() const;

  RunContext run_;
  Screen screen_;
  SendJournal journal_;
};

}  // namespace fieldpost
