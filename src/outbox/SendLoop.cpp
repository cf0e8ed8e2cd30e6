#include "outbox/SendLoop.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <exception>
#include <set>
#include <unordered_set>
#include <utility>

#include "common/ContentHash.h"
#include "common/DocumentNames.h"
#include "common/Limits.h"
#include "common/Numbers.h"
#include "common/PathText.h"
#include "common/Text.h"
#include "outbox/DocumentMarking.h"
#include "outbox/DocumentMode.h"
#include "outbox/MailSummary.h"
#include "outbox/WaitingDocument.h"
#include "platform/FileHash.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::int32_t FallbackPort = 25;
constexpr std::int32_t FallbackTries = 2;
constexpr std::int32_t FallbackTimeoutSeconds = 10;

TlsMode TlsModeFrom(std::string_view setting) {
  if (EqualNoCase(Trimmed(setting), "required")) return TlsMode::Required;
  if (EqualNoCase(Trimmed(setting), "none")) return TlsMode::None;
  return TlsMode::Auto;
}

/// What stands behind the "@" of an address, as far as it can stand in a message ID.
std::string DomainOf(std::string_view address) {
  std::string domain;
  for (const char c : address.substr(address.find('@') + 1)) {
    if (c == '.' || c == '-' || c == '_' || !LettersAndDigits({&c, 1}).empty()) domain += c;
  }
  const bool whole = !domain.starts_with('.') && !domain.ends_with('.') &&
                     domain.find("..") == std::string::npos && !domain.empty();
  return whole ? domain : "fieldpost.invalid";
}

}  // namespace

SendLoop::SendLoop(FileSystem& files, const Clock& clock, const MailSettings& settings, const RunFlags& flags,
                   RunLists& lists, ModWriteLogFile& log, const MailSettingsCheck& check,
                   AttachmentPackaging& packaging, MailTransport& transport, UserPrompt& prompt,
                   StatusDisplay& display)
    : files_(files),
      clock_(clock),
      settings_(settings),
      flags_(flags),
      lists_(lists),
      log_(log),
      check_(check),
      packaging_(packaging),
      transport_(transport),
      prompt_(prompt),
      display_(display),
      journal_(files) {}

bool SendLoop::SendQueuedFaultlogs() {
  lists_.Attachments.clear();
  lists_.PackedFiles.clear();
  bool whole = true;
  try {
    for (const fs::path& document : QueuedDocuments()) {
      if (!CollectIfWaiting(document)) whole = false;
    }
  } catch (const FileError& error) {
    log_.WriteLog(error.what(), LogCategory::Error);
    return false;
  }
  return (lists_.Attachments.empty() || SendData()) && whole;
}

/// The documents of the process folder and those of this run, each once.
PathList SendLoop::QueuedDocuments() const {
  PathList documents;
  std::unordered_set<fs::path::string_type> known;
  const auto add = [&](const fs::path& document) {
    if (known.insert(document.native()).second) documents.push_back(document);
  };
  const fs::path folder = ProcessFolder();
  if (files_.IsFolder(folder)) {
    for (const std::string& name : files_.ListFiles(folder, ".xml")) add(folder / PathFromUtf8(name));
  }
  for (const PendingFile& pending : lists_.PendingFiles) {
    if (files_.IsFile(pending.path)) add(pending.path);
  }
  return documents;
}

/// False when the document cannot be read; the others go all the same.
bool SendLoop::CollectIfWaiting(const fs::path& document) {
  display_.ProcessEvents();
  try {
    if (!IsWaitingDocument(files_, document) || WasSent(document)) return true;
    const std::optional<FileStamp> stamp = files_.RegularFileStamp(document);
    if (stamp && stamp->size > MaxDocumentBytes) throw FileTooLarge(document, MaxDocumentBytes);
    lists_.Attachments.push_back(document);
    return true;
  } catch (const FileError& error) {
    log_.WriteLog(error.what(), LogCategory::Error);
    return false;
  }
}

bool SendLoop::SendData() {
  packaging_.DeleteZipFiles();
  if (lists_.Attachments.empty()) return false;
  if (EqualNoCase(settings_.UseZip, "true") && !Pack()) return false;
  return SendPackedData();
}

bool SendLoop::Pack() {
  display_.SetStep("Packing files...");
  if (packaging_.ZipAttachments(lists_.Attachments)) return true;
  if (!packaging_.Problem().empty()) ShowProblem(packaging_.Problem());
  return false;
}

bool SendLoop::SendPackedData() {
  if (!SendMail()) return false;

  constexpr std::string_view done = "Mail(s) has been Sent!";
  log_.WriteLog(done, LogCategory::Mail);
  if (flags_.ShowMessages) prompt_.ShowMessage(done, MessageIcon::Information, "");
  display_.ProcessEvents();
  bool whole = true;
  if (flags_.SendingPPC) {
    whole = packaging_.ClearPPCTemp();
  } else {
    whole = MarkSent();
    lists_.PendingFiles.clear();
  }
  whole = packaging_.DeleteZipFiles() && whole;
  return whole && (flags_.SendingPPC || Forget());
}

bool SendLoop::SendMail() {
  const int count = packaging_.CountMails();
  try {
    PrepareNote();
    const auto noteSet = [this] { NoteSent(); };
    const auto noteNothing = [] {};
    for (int number = 1; number <= count; ++number) {
      ShowProgress(fmt::format("Sending mail {}/{}...", number, count), static_cast<std::size_t>(number - 1),
                   static_cast<std::size_t>(count));
      const Mail mail = MailOf(number, count);
      display_.ProcessEvents();
      if (display_.IsCancelled()) return false;
      if (!(number == count ? SendOneMail(mail, noteSet) : SendOneMail(mail, noteNothing))) return false;
    }
    ShowProgress("All mails sent", static_cast<std::size_t>(count), static_cast<std::size_t>(count));
  } catch (const std::exception& error) {
    return Fail(error.what());
  }
  return true;
}

void SendLoop::ShowProgress(std::string_view step, std::size_t done, std::size_t count) {
  if (done == 0) display_.SetRange(count);
  display_.SetStep(step);
  display_.SetLabel(fmt::format("{}%", done * 100 / std::max<std::size_t>(count, 1)));
  display_.SetPosition(done);
}

bool SendLoop::Fail(std::string_view problem) {
  log_.WriteLog(problem, LogCategory::Error);
  ShowProblem(problem);
  return false;
}

void SendLoop::ShowProblem(std::string_view problem) {
  if (flags_.ShowMessages) prompt_.ShowMessage(problem, MessageIcon::Critical, "Error");
}

bool SendLoop::SendOneMail(const Mail& mail, const std::function<void()>& accepted) {
  const bool sent = transport_.Send(Server(), mail, accepted);
  if (transport_.WasCancelled()) return false;
  const std::string status = transport_.StatusText();
  log_.WriteLog(status, LogCategory::Mail);
  if (!sent) ShowProblem(status);
  return sent;
}

MailServer SendLoop::Server() const {
  return {.server = settings_.SMTPServer,
          .port = NumberOr(settings_.SMTPPort, 1, MaxSmtpPort, FallbackPort),
          .tryCount = NumberOr(settings_.TryCount, 1, MaxTryCount, FallbackTries),
          .timeoutSeconds = NumberOr(settings_.Timeout, 1, MaxTimeoutSeconds, FallbackTimeoutSeconds),
          .userName = settings_.MailUserName,
          .password = settings_.MailPassword,
          .hostName = settings_.MailHostName,
          .tlsMode = TlsModeFrom(settings_.TlsMode),
          .tlsCaFile = settings_.TlsCaFile};
}

PathList SendLoop::FilesOfMail(int number) const {
  const std::size_t perMail = packaging_.AttachmentsPerMail();
  const std::size_t from = perMail * static_cast<std::size_t>(number - 1);
  const std::size_t end = std::min(from + perMail, lists_.Attachments.size());
  PathList present;
  for (std::size_t i = from; i < end; ++i) {
    const fs::path& file = lists_.Attachments[i];
    if (files_.IsFile(file)) {
      present.push_back(file);
    } else {
      log_.WriteLog(fmt::format("File not found ({})", EscapeControls(Utf8FromPath(file))),
                    LogCategory::Error);
    }
  }
  return present;
}

Mail SendLoop::MailOf(int number, int count) {
  Mail mail{.sender = settings_.SenderAddress,
            .recipient = check_.GetRecipientAddress(),
            .organization = settings_.Organization,
            .subject = {},
            .body = {},
            .messageId = {},
            .date = clock_.Now(),
            .attachments = FilesOfMail(number)};
  mail.subject = fmt::format("{}/{}   Partner ID:{}  Sent:{}", number, count, SitePart(settings_.PartnerID),
                             DateAndTime(mail.date));
  mail.body = fmt::format("{}/{}\r\n\r\n{}", number, count,
                          BuildMailSummary(files_, mail.attachments, flags_.SendingPPC));
  mail.messageId = MessageIdOf(mail, number, count);
  return mail;
}

std::string SendLoop::MessageIdOf(const Mail& mail, int number, int count) const {
  std::string identity = fmt::format("{} {}{}/{}", settings_.PartnerID,
                                     flags_.SendingPPC ? PpcPrefix : FaultlogPrefix, number, count);
  for (const fs::path& file : mail.attachments) identity += " " + ToHex(HashFile(files_, file, display_));
  return fmt::format("<{}@{}>", ToHex(HashContent(identity)), DomainOf(mail.sender));
}

bool SendLoop::MarkSent() {
  PathList documents = DocumentsInHand();
  lists_.PackedFiles.clear();
  lists_.Attachments.clear();
  try {
    AddEarlierSentTo(documents);
    return Mark(documents);
  } catch (const FileError& error) {
    return Fail(error.what());
  }
}

/// Those that an earlier run had mailed and could not mark either.
void SendLoop::AddEarlierSentTo(PathList& documents) const {
  const std::set<fs::path> inHand(documents.begin(), documents.end());
  for (const auto& [path, content] : unmarked_) {
    if (!inHand.contains(path) && WasSent(path)) documents.push_back(path);
  }
}

PathList SendLoop::DocumentsInHand() const {
  PathList documents = lists_.PackedFiles;
  documents.insert(documents.end(), lists_.Attachments.begin(), lists_.Attachments.end());
  return documents;
}

bool SendLoop::Mark(const PathList& documents) {
  const MarkingResult marking = MarkDocuments(files_, documents, [&](std::size_t done) {
    ShowProgress("Marking what was sent...", done, documents.size());
    display_.ProcessEvents();
  });
  for (const std::string& line : marking.unmarkable) log_.WriteLog(line, LogCategory::Error);
  for (const std::string& line : marking.failures) log_.WriteLog(line, LogCategory::Error);
  if (!marking.failures.empty()) ShowProblem(marking.failures.front());
  return marking.failures.empty();
}

/// What is needed for the note is found out before the first mail goes, so that nothing but writing it stands
/// between the server's answer and the note.
void SendLoop::PrepareNote() {
  toNote_.clear();
  if (flags_.SendingPPC || !files_.IsFolder(ProcessFolder())) return;
  unmarked_ = journal_.Read(ProcessFolder());
  toNote_ = unmarked_;
  for (const fs::path& document : DocumentsInHand()) {
    if (IsDocument(files_, document))
      toNote_.insert_or_assign(document, HashFile(files_, document, display_));
  }
}

void SendLoop::NoteSent() {
  if (toNote_.empty()) return;
  try {
    journal_.Write(ProcessFolder(), toNote_);
    unmarked_ = std::exchange(toNote_, {});
  } catch (const FileError& error) {
    log_.WriteLog(error.what(), LogCategory::Error);
  }
}

/// Everything that was noted is marked, and what it was packed into is gone.
bool SendLoop::Forget() {
  unmarked_.clear();
  try {
    journal_.Remove(ProcessFolder());
    return true;
  } catch (const FileError& error) {
    return Fail(error.what());
  }
}

bool SendLoop::FinishInterruptedSend() {
  if (!files_.IsFolder(ProcessFolder())) return true;
  packaging_.DeleteZipFiles();
  try {
    unmarked_ = journal_.Read(ProcessFolder());
    // What is marked already may not be on the disk yet: the program that did it was killed since.
    const std::array folder{ProcessFolder()};
    if (!unmarked_.empty()) files_.Flush(folder);
    PathList documents;
    AddEarlierSentTo(documents);
    if (!Mark(documents)) return false;
    if (!unmarked_.empty() && !packaging_.DeleteZipFiles()) return false;
    if (!documents.empty()) {
      // the log leaves out the first line of what it is told about mail
      log_.WriteLog(
          fmt::format("-\r\nMarked {} documents that an interrupted run had mailed", documents.size()),
          LogCategory::Mail);
    }
    return Forget();
  } catch (const FileError& error) {
    return Fail(error.what());
  }
}

bool SendLoop::WasSent(const fs::path& document) const {
  const auto sent = unmarked_.find(document);
  return sent != unmarked_.end() && files_.IsFile(document) &&
         HashFile(files_, document, display_) == sent->second;
}

fs::path SendLoop::ProcessFolder() const {
  return PathFromUtf8(settings_.ProcessFolder);
}

}  // namespace fieldpost
