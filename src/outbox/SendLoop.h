// Mails what waits, and marks it as sent.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "common/RunFlags.h"
#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "common/UserPrompt.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "outbox/AttachmentPackaging.h"
#include "outbox/MailSettingsCheck.h"
#include "outbox/SendJournal.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "smtp/MailTransport.h"

namespace fieldpost {

/// Sends the attachment list in numbered mails. A set is marked as sent when all of its mails went, and only
/// then; after a failure the whole set is offered again by the next run. So it is when the person at the
/// screen wants the end, which no line of the log and no message box here tells of: that is for the run's
/// driver.
///
/// The moment the server has taken the last mail of a set, that is noted beside the documents. A program that
/// ends before all of them are marked is finished by FinishInterruptedSend() of the next run.
class SendLoop {
 public:
  SendLoop(FileSystem& files, const Clock& clock, const MailSettings& settings, const RunFlags& flags,
           RunLists& lists, ModWriteLogFile& log, const MailSettingsCheck& check,
           AttachmentPackaging& packaging, MailTransport& transport, UserPrompt& prompt,
           StatusDisplay& display);

  /// Marks what an interrupted run had mailed and did not come to mark, and removes what it had packed. False
  /// when that could not be done; the log then says why, and those documents are kept from being mailed
  /// again.
  bool FinishInterruptedSend();

  /// Whether a document was mailed as it is now, though its own text does not say so yet. Throws FileError.
  [[nodiscard]] bool WasSent(const std::filesystem::path& document) const;

  /// Fills the attachment list with the documents that wait in the process folder and those of
  /// `PendingFiles`, each once, and sends it. False when something went wrong; nothing to send is nothing
  /// wrong.
  bool SendQueuedFaultlogs();

  /// Packs the attachment list where the settings ask for it, and sends it. True when mail was sent.
  bool SendData();

  /// Sends the attachment list as it stands, which may have been packed before. True when mail was sent.
  bool SendPackedData();

  /// Sends the attachment list as numbered mails. True when all went.
  bool SendMail();

  /// Sends one mail and logs what became of it. True when the server took it; `accepted` is called the moment
  /// it has.
  bool SendOneMail(const Mail& mail, const std::function<void()>& accepted);

  /// Marks the documents of the packed-files list and of the attachment list as sent, and empties both. False
  /// when a document could not be written; it will be sent again.
  bool MarkSent();

 private:
  bool Pack();
  [[nodiscard]] PathList QueuedDocuments() const;
  bool CollectIfWaiting(const std::filesystem::path& document);
  void ShowProgress(std::string_view step, std::size_t done, std::size_t count);
  bool Fail(std::string_view problem);
  void ShowProblem(std::string_view problem);
  [[nodiscard]] MailServer Server() const;
  [[nodiscard]] PathList FilesOfMail(int number) const;
  [[nodiscard]] Mail MailOf(int number, int count);
  [[nodiscard]] std::string MessageIdOf(const Mail& mail, int number, int count) const;
  [[nodiscard]] PathList DocumentsInHand() const;
  void PrepareNote();
  void AddEarlierSentTo(PathList& documents) const;
  void NoteSent();
  bool Mark(const PathList& documents);
  bool Forget();
  [[nodiscard]] std::filesystem::path ProcessFolder() const;

  FileSystem& files_;
  const Clock& clock_;
  const MailSettings& settings_;
  const RunFlags& flags_;
  RunLists& lists_;
  ModWriteLogFile& log_;
  const MailSettingsCheck& check_;
  AttachmentPackaging& packaging_;
  MailTransport& transport_;
  UserPrompt& prompt_;
  StatusDisplay& display_;
  SendJournal journal_;
  SentDocuments unmarked_;  // noted, and not marked yet
  SentDocuments toNote_;    // the same with the set that is being sent, for when it has gone
};

}  // namespace fieldpost
