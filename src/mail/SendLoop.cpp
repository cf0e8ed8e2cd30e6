#include "mail/SendLoop.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <exception>
#include <unordered_set>
#include <utility>

#include "common/ContentHash.h"
#include "common/DocumentMode.h"
#include "common/DocumentNames.h"
#include "common/Numbers.h"
#include "common/PathText.h"
#include "common/Text.h"
#include "mail/MailSummary.h"
#include "mail/WaitingDocument.h"

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

ContentHash HashFile(const FileSystem& files, const fs::path& path, StatusDisplay& display) {
  const std::unique_ptr<FileReader> reader = files.OpenForReading(path);
  ContentHasher hasher;
  std::array<char, 65536> buffer{};
  while (const std::size_t got = reader->Read(buffer)) {
    hasher.Add({buffer.data(), got});
    display.LetEventsRun();
  }
  return hasher.Hash();
}

/// What stands behind the "@" of an address, as far as it can stand in a message ID.
std::string DomainOf(std::string_view address) {
  std::string domain;
  for (const char c : address.substr(address.find('@') + 1)) {
    if (c == '.' || c == '-' || !LettersAndDigits({&c, 1}).empty()) domain += c;
  }
  return domain.empty() ? "fieldpost.invalid" : domain;
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
      display_(display) {}

bool SendLoop::SendQueuedFaultlogs() {
  lists_.Attachments.clear();
  lists_.PackedFiles.clear();
  try {
    CollectWaiting();
  } catch (const FileError& error) {
    log_.WriteLog(error.what(), LogCategory::Error);
    return false;
  }
  return lists_.Attachments.empty() || SendData();
}

void SendLoop::CollectWaiting() {
  const fs::path folder = PathFromUtf8(settings_.ProcessFolder);
  std::unordered_set<fs::path::string_type> known;
  const auto add = [&](const fs::path& document) {
    display_.LetEventsRun();
    if (!known.insert(document.native()).second || !IsWaitingDocument(files_, document)) return;
    lists_.Attachments.push_back(document);
  };
  if (files_.IsFolder(folder)) {
    for (const std::string& name : files_.ListFiles(folder, ".xml")) add(folder / PathFromUtf8(name));
  }
  for (const fs::path& document : lists_.PendingFiles) {
    if (files_.IsFile(document)) add(document);
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
  display_.LetEventsRun();
  bool marked = true;
  if (flags_.SendingPPC) {
    packaging_.ClearPPCTemp();
  } else {
    marked = MarkSent();
    lists_.PendingFiles.clear();
  }
  packaging_.DeleteZipFiles();
  return marked;
}

bool SendLoop::SendMail() {
  const int count = packaging_.CountMails();
  try {
    for (int number = 1; number <= count; ++number) {
      ShowProgress(fmt::format("Sending mail {}/{}...", number, count), static_cast<std::size_t>(number - 1),
                   static_cast<std::size_t>(count));
      const Mail mail = MailOf(number, count);
      display_.LetEventsRun();
      if (display_.StopRequested() || !SendOneMail(mail)) return false;
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

bool SendLoop::SendOneMail(const Mail& mail) {
  const bool sent = transport_.Send(Server(), mail);
  if (transport_.WasStopped()) return false;
  const std::string status = transport_.StatusText();
  log_.WriteLog(status, LogCategory::Mail);
  if (!sent) ShowProblem(status);
  return sent;
}

MailServer SendLoop::Server() const {
  return {.server = settings_.SMTPServer,
          .port = NumberOr(settings_.SMTPPort, 1, HighestSmtpPort, FallbackPort),
          .tryCount = NumberOr(settings_.TryCount, 1, HighestTryCount, FallbackTries),
          .timeoutSeconds = NumberOr(settings_.Timeout, 1, HighestTimeoutSeconds, FallbackTimeoutSeconds),
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
      log_.WriteLog(fmt::format("File not found ({})", Visible(Utf8FromPath(file))), LogCategory::Error);
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
  PathList documents = std::exchange(lists_.PackedFiles, {});
  const PathList attachments = std::exchange(lists_.Attachments, {});
  documents.insert(documents.end(), attachments.begin(), attachments.end());
  std::string problem;
  for (std::size_t i = 0; i < documents.size(); ++i) {
    ShowProgress("Marking what was sent...", i, documents.size());
    const std::string one = MarkFile(documents[i]);
    log_.WriteLog(one, LogCategory::Error);
    if (problem.empty()) problem = one;
    display_.LetEventsRun();
  }
  if (!problem.empty()) ShowProblem(problem);
  return problem.empty();
}

std::string SendLoop::MarkFile(const fs::path& path) {
  if (!EndsWithNoCase(Utf8FromPath(path), ".xml") || !files_.IsFile(path)) return {};
  try {
    const std::optional<std::string> marked = MarkedAsSent(files_.ReadWhole(path, AnySize));
    if (marked) files_.SaveAtomically(path, *marked);
    return {};
  } catch (const FileError& error) {
    return error.what();
  }
}

}  // namespace fieldpost
