#include "outbox/SendLoop.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include "common/PathText.h"
#include "environment/ProcessFolder.h"
#include "environment/SettingValues.h"
#include "outbox/DocumentCollection.h"
#include "outbox/MailComposer.h"
#include "outbox/SendProgress.h"

namespace fieldpost {
namespace {

/// Returns the attachments of the mail of this number, counted from 1.
PathList FilesOfMail(const PathList& attachments, int number, std::size_t perMail) {
  const std::size_t from = std::min(perMail * static_cast<std::size_t>(number - 1), attachments.size());
  const auto begin = std::next(attachments.begin(), static_cast<std::ptrdiff_t>(from));
  const std::size_t count = std::min(perMail, attachments.size() - from);
  return {begin, std::next(begin, static_cast<std::ptrdiff_t>(count))};
}

}  // namespace

SendLoop::SendLoop(const RunContext& run, const Screen& screen, RunLists& lists,
                   const MailSettingsCheck& check, MailTransport& transport)
    : run_(run),
      screen_(screen),
      lists_(lists),
      check_(check),
      transport_(transport),
      packaging_(run, screen.display),
      marking_(run, screen) {}

bool SendLoop::FinishInterruptedSend() {
  const bool hasFolder = run_.files.IsFolder(PathFromUtf8(run_.settings.ProcessFolder));
  if (hasFolder) static_cast<void>(packaging_.DeleteZipFiles());
  const SentMarking::Recovery recovery = marking_.MarkInterrupted();
  if (!recovery.succeeded) return false;
  // The journal stays until the zip of what it names is gone.
  if (recovery.hadJournal && hasFolder && !packaging_.DeleteZipFiles()) return false;
  if (recovery.marked > 0) {
    // The log skips the first line of a text about mail.
    run_.log.WriteLog(
        fmt::format("-\r\nMarked {} documents that an interrupted run had mailed", recovery.marked),
        LogCategory::Mail);
  }
  return marking_.RemoveJournal();
}

bool SendLoop::SendQueuedFaultlogs() {
  CollectedDocuments collected;
  try {
    const CollectionSource source{.folder = ProcessFolder(run_.files, run_.paths, run_.settings),
                                  .pending = lists_.PendingFiles};
    collected = CollectWaitingDocuments(run_.files, source, screen_.display);
  } catch (const FileError& error) {
    run_.log.WriteLog(error.what(), LogCategory::Error);
    return false;
  }
  for (const std::string& problem : collected.problems) run_.log.WriteLog(problem, LogCategory::Error);
  if (collected.cancelled) return false;
  if (collected.documents.empty()) return collected.problems.empty();
  const SendResult result = SendData(NewShipment(screen_.flags, std::move(collected.documents)));
  if (result.mailed) lists_.PendingFiles.clear();
  return result.finished && collected.problems.empty();
}

SendResult SendLoop::SendData(Shipment shipment) {
  static_cast<void>(packaging_.DeleteZipFiles());
  if (shipment.attachments.empty()) return {};
  if (UsesZip(run_.settings) && !Pack(shipment)) return {};
  return SendPackedData(shipment);
}

bool SendLoop::Pack(Shipment& shipment) {
  screen_.display.SetStep("Packing files...");
  const PackingResult result = packaging_.ZipAttachments(shipment);
  if (!result.problem.empty()) ShowProblem(result.problem);
  return result.packed;
}

SendResult SendLoop::SendPackedData(const Shipment& shipment) {
  const MailingResult mailing = SendMail(shipment);
  if (!mailing.accepted) return {};

  constexpr std::string_view done = "Mail(s) has been Sent!";
  run_.log.WriteLog(done, LogCategory::Mail);
  screen_.ShowMessage(done, MessageIcon::Information, "");
  screen_.display.ProcessEvents();
  return {.mailed = true, .finished = Finish(shipment, mailing.sent)};
}

bool SendLoop::Finish(const Shipment& shipment, const SentDocuments& sent) {
  const bool isPpc = shipment.kind == DataKind::Ppc;
  bool whole = isPpc ? packaging_.ClearPPCTemp() : marking_.MarkSent(shipment, sent);
  whole = packaging_.DeleteZipFiles() && whole;
  return whole && (isPpc || marking_.RemoveJournal());
}

MailingResult SendLoop::SendMail(const Shipment& shipment) {
  try {
    SentDocuments sent = marking_.JournalFor(shipment);
    if (SendNumbered(shipment, sent)) return {.accepted = true, .sent = std::move(sent)};
  } catch (const std::exception& error) {
    run_.log.WriteLog(error.what(), LogCategory::Error);
    ShowProblem(error.what());
  }
  return {};
}

bool SendLoop::SendNumbered(const Shipment& shipment, const SentDocuments& sent) {
  const MailComposer composer(run_, shipment, check_.GetRecipientAddress(shipment.kind), screen_.display);
  const int count = packaging_.CountMails(shipment.attachments.size());
  const std::size_t perMail = packaging_.AttachmentsPerMail(shipment.attachments.size());
  const auto total = static_cast<std::size_t>(count);
  for (int number = 1; number <= count; ++number) {
    ShowSendProgress(screen_.display, fmt::format("Sending mail {}/{}...", number, count),
                     static_cast<std::size_t>(number - 1), total);
    const Mail mail = composer.Compose({.number = number, .count = count},
                                       FilesOfMail(shipment.attachments, number, perMail));
    screen_.display.ProcessEvents();
    if (screen_.display.IsCancelled()) return false;
    const auto note = [&] {
      if (number == count) marking_.WriteJournal(sent);
    };
    if (!SendOneMail(mail, note)) return false;
  }
  ShowSendProgress(screen_.display, "All mails sent", total, total);
  return true;
}

bool SendLoop::SendOneMail(const Mail& mail, const std::function<void()>& onAccepted) {
  const MailOutcome outcome = transport_.Send(ServerOf(run_.settings), mail, onAccepted);
  if (outcome.cancelled) return false;
  run_.log.WriteLog(outcome.statusText, LogCategory::Mail);
  if (!outcome.accepted) ShowProblem(outcome.statusText);
  return outcome.accepted;
}

void SendLoop::ShowProblem(std::string_view problem) {
  screen_.ShowMessage(problem, MessageIcon::Critical, "Error");
}

}  // namespace fieldpost
