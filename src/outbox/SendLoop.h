// Mails the documents that wait.
#pragma once

#include <filesystem>
#include <functional>
#include <string_view>

#include "common/RunLists.h"
#include "common/Screen.h"
#include "environment/RunContext.h"
#include "outbox/AttachmentPackaging.h"
#include "outbox/MailSettingsCheck.h"
#include "outbox/SendJournal.h"
#include "outbox/SentMarking.h"
#include "outbox/Shipment.h"
#include "smtp/MailTransport.h"

namespace fieldpost {

/// What came of mailing a shipment.
struct MailingResult {
  bool accepted = false;  ///< the server accepted every mail
  SentDocuments sent;     ///< the documents to be marked, when it did
};

/// What came of a send.
struct SendResult {
  bool mailed = false;    ///< the server accepted every mail
  bool finished = false;  ///< and the documents are marked (faultlogger data) or deleted (PPC data)
};

/// Sends shipments in numbered mails. The documents of a shipment are marked when the server has accepted all
/// of its mails; after a failure, or when the user cancels, none is marked and the next run sends the whole
/// shipment again. Failures are logged and, with the flag `ShowMessages`, shown; a cancelled send is reported
/// by the driver of the run.
class SendLoop {
 public:
  /// Everything that the arguments refer to must outlive the object.
  SendLoop(const RunContext& run, const Screen& screen, RunLists& lists, const MailSettingsCheck& check,
           MailTransport& transport);

  /// Marks the documents that an interrupted run had mailed, and deletes the zip files that it left. Returns
  /// false when that fails, which is logged; the send journal then keeps those documents from being mailed
  /// again.
  [[nodiscard]] bool FinishInterruptedSend();

  /// Collects the waiting documents of the Process folder and of `PendingFiles`, each once, and sends them;
  /// empties `PendingFiles` when they were mailed. Returns false when something failed; that nothing waits is
  /// not a failure.
  [[nodiscard]] bool SendQueuedFaultlogs();

  /// Packs a shipment when the settings ask for it, sends and finishes it. Without attachments it sends
  /// nothing.
  [[nodiscard]] SendResult SendData(Shipment shipment);

  /// Sends and finishes a shipment with its attachments as they are.
  [[nodiscard]] SendResult SendPackedData(const Shipment& shipment);

  /// Sends a shipment in numbered mails, and writes the send journal when the server has accepted the last
  /// one.
  [[nodiscard]] MailingResult SendMail(const Shipment& shipment);

  /// Sends one mail and logs its status text, unless the user cancelled it. Returns whether the server
  /// accepted it; `onAccepted` is called as soon as it has.
  [[nodiscard]] bool SendOneMail(const Mail& mail, const std::function<void()>& onAccepted);

 private:
  [[nodiscard]] bool Pack(Shipment& shipment);
  [[nodiscard]] bool SendNumbered(const Shipment& shipment, const SentDocuments& sent);
  [[nodiscard]] bool Finish(const Shipment& shipment, const SentDocuments& sent);
  void ShowProblem(std::string_view problem);

  RunContext run_;
  Screen screen_;
  RunLists& lists_;
  const MailSettingsCheck& check_;
  MailTransport& transport_;
  AttachmentPackaging packaging_;
  SentMarking marking_;
};

}  // namespace fieldpost
