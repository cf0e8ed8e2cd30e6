#include "shell/InteractiveSend.h"

#include <fmt/format.h>

#include <array>
#include <exception>
#include <utility>

#include "common/DateText.h"
#include "common/PathText.h"
#include "environment/SettingValues.h"
#include "shell/RunPreparation.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t LinesSearched = 5;  // for "Not Sent"

/// Sets the flags of an interactive send; resets them, and the documents that it queued, when it ends.
class ScreenRun {
 public:
  ScreenRun(RunFlags& flags, RunLists& lists) : flags_(flags), lists_(lists) {
    lists_.PendingFiles.clear();
    // Each document is mailed once, together with those that waited before; the scan would mail its own
    // separately.
    flags_ = {.ShowMessages = true, .SendingPPC = false, .SendAfterCollect = false};
  }
  ScreenRun(const ScreenRun&) = delete;
  ScreenRun& operator=(const ScreenRun&) = delete;
  ~ScreenRun() {
    flags_ = {};
    lists_.PendingFiles.clear();
  }

 private:
  RunFlags& flags_;
  RunLists& lists_;
};

/// Keeps a window open while it exists.
class OpenWindow {
 public:
  explicit OpenWindow(const PpcCollectionWindow& window) : window_(window) { window_.open(); }
  OpenWindow(const OpenWindow&) = delete;
  OpenWindow& operator=(const OpenWindow&) = delete;
  ~OpenWindow() { window_.close(); }

 private:
  const PpcCollectionWindow& window_;
};

}  // namespace

InteractiveSend::InteractiveSend(FieldpostProgram& program, PpcCollectionWindow ppcWindow)
    : program_(program), ppcWindow_(std::move(ppcWindow)) {}

bool InteractiveSend::Run() {
  program_.ports.display.ProcessEvents();
  const bool faultlogs = SendsFaultlogs(program_.settings);
  const bool ppc = SendsPpc(program_.settings);
  if (!faultlogs && !ppc) {
    program_.ports.prompt.ShowMessage("Select the data to be send", MessageIcon::Information, "");
    program_.ports.prompt.ShowOptions(OptionsPage::Sending);
    return false;
  }
  RunPreparation preparation(program_);
  const PreparationResult prepared = preparation.Prepare(RunPreparation::EmptyLatestList::Leave);
  if (!prepared.problem.empty()) return Refuse(prepared.problem);
  const ScreenRun screenRun(program_.flags, program_.lists);
  const bool finished = program_.sendLoop.FinishInterruptedSend();
  return SendChosen(faultlogs, ppc) && finished;
}

/// When one half fails, the other is still done, unless the user cancelled or the list of Latest folders is
/// empty.
bool InteractiveSend::SendChosen(bool faultlogs, bool ppc) {
  const bool faultlogsSent = !faultlogs || Do(&InteractiveSend::SendFaultlogs);
  if (faultlogs && program_.lists.LatestFolderList.empty()) return false;
  const bool ppcSent = !ppc || (!IsCancelled() && Do(&InteractiveSend::SendPpcData));
  const bool whole = faultlogsSent && ppcSent;
  if (!whole && IsCancelled()) {
    program_.log.WriteLog("Ended by the user; what was not sent is left for the next send",
                          LogCategory::Error);
  }
  return whole;
}

bool InteractiveSend::Do(bool (InteractiveSend::*half)()) {
  try {
    return (this->*half)();
  } catch (const std::exception& error) {
    program_.log.WriteLog(error.what(), LogCategory::Error);
    return ShowError(error.what());
  }
}

bool InteractiveSend::SendFaultlogs() {
  StatusDisplay& display = program_.ports.display;
  display.SetStep("Process faultlogger data...");
  display.ProcessEvents();
  const CollectionOutcome filing = ProcessFaultlogData();
  if (!filing.maySend) return false;
  display.SetStep("Collecting unsent files...");
  std::optional<CollectedDocuments> collected = CollectUnsentFiles();
  if (!collected || collected->cancelled) return false;
  const bool whole = filing.succeeded && collected->problems.empty();
  if (collected->documents.empty()) return whole;
  Shipment shipment = NewShipment(program_.flags, std::move(collected->documents));
  return program_.sendLoop.SendData(std::move(shipment)).finished && whole;
}

CollectionOutcome InteractiveSend::ProcessFaultlogData() {
  if (program_.lists.LatestFolderList.empty()) {
    AskForLatestFolder();
    return {};
  }
  ScanResult scan;
  try {
    scan = program_.scan.ProcessLatestFiles(program_.ports.display);
    if (scan.began && !scan.cancelled) WriteCollectionTime();
  } catch (const std::exception& error) {
    program_.log.WriteLog(error.what(), LogCategory::Error);
    ShowError(error.what());
    return {};
  }
  if (!scan.problem.empty()) ShowError(scan.problem);
  return {.maySend = scan.began && !scan.cancelled, .succeeded = scan.succeeded};
}

void InteractiveSend::AskForLatestFolder() {
  program_.ports.prompt.ShowOptions(OptionsPage::Folders);
  program_.ports.display.ProcessEvents();
  program_.ports.prompt.ShowMessage("Add latest path             ", MessageIcon::Information, "");
}

void InteractiveSend::WriteCollectionTime() {
  program_.ports.display.SetLabel("100%");
  program_.registry.CreateNewKey(HKEY_LOCAL_MACHINE, TimeKey);
  program_.registry.SetKeyValue(HKEY_LOCAL_MACHINE, TimeKey, LastCollectionValue,
                                DateAndTime(program_.ports.clock.Now()), REG_SZ);
}

std::optional<CollectedDocuments> InteractiveSend::CollectUnsentFiles() {
  try {
    program_.ports.files.CreateFolders(program_.paths.FaultlogFolder("Process"));
    CollectedDocuments collected = CollectFrom(PathFromUtf8(program_.settings.ProcessFolder));
    ReportDescriptions(collected.problems);
    return collected;
  } catch (const FileError& error) {
    ReportDescriptions(std::array{std::string(error.what())});
    return std::nullopt;
  }
}

CollectedDocuments InteractiveSend::CollectFrom(const fs::path& folder) {
  if (!program_.ports.files.IsFolder(folder)) throw FileError("cannot read", folder, "it is missing");
  const CollectionSource source{
      .folder = folder, .pending = program_.lists.PendingFiles, .lines = LinesSearched};
  return CollectWaitingDocuments(program_.ports.files, source, program_.ports.display);
}

bool InteractiveSend::SendPpcData() {
  program_.lists.PendingFiles.clear();
  program_.flags.SendingPPC = true;
  program_.ports.display.SetStep("Process PPC Data...");
  program_.ports.display.ProcessEvents();
  const bool zip = UsesZip(program_.settings);
  std::optional<Shipment> shipment = CollectPpcData(zip);
  if (!shipment) return false;
  if (shipment->attachments.empty()) return true;
  const SendResult result =
      zip ? program_.sendLoop.SendPackedData(*shipment) : program_.sendLoop.SendData(std::move(*shipment));
  return result.finished;
}

/// Returns nothing after a failure, or when the user cancelled.
std::optional<Shipment> InteractiveSend::CollectPpcData(bool zip) {
  const OpenWindow window(ppcWindow_);
  PpcCollection collected = program_.ppcAttachments.MakePPCFiles(program_.ports.display);
  if (!collected.succeeded) return std::nullopt;
  Shipment shipment = NewShipment(program_.flags, std::move(collected.documents));
  if (zip && !shipment.attachments.empty() && !PackPpcDocuments(shipment)) return std::nullopt;
  return shipment;
}

/// Names the documents of this run one by one, because the folder may contain others of the same hour.
bool InteractiveSend::PackPpcDocuments(Shipment& shipment) {
  std::string names;
  for (const fs::path& document : shipment.attachments) names += Utf8FromPath(document.filename()) + "\n";
  program_.ports.display.SetLabel("Packing PPC Data...");
  const PpcZip zip = program_.ppcAttachments.ZipPPCDocuments(names, program_.ports.display);
  if (!zip.packed) return false;
  shipment.packed = std::exchange(shipment.attachments, {zip.file});
  return true;
}

/// Logs each problem and shows the first one.
void InteractiveSend::ReportDescriptions(std::span<const std::string> problems) {
  for (const std::string& problem : problems)
    program_.log.WriteLog(fmt::format("Description: {}", problem), LogCategory::Error);
  if (problems.empty()) return;
  program_.ports.prompt.ShowMessage(fmt::format("Description: {}", problems.front()),
                                    MessageIcon::Exclamation, "");
}

bool InteractiveSend::Refuse(std::string_view reason) {
  program_.log.WriteLog(reason, LogCategory::Error);
  program_.ports.prompt.ShowMessage(reason, MessageIcon::Exclamation, "");
  return false;
}

bool InteractiveSend::ShowError(std::string_view text) {
  program_.ports.prompt.ShowMessage(fmt::format("Error: {}", text), MessageIcon::Critical, "Error");
  return false;
}

}  // namespace fieldpost
