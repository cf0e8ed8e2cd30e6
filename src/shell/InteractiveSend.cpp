#include "shell/InteractiveSend.h"

#include <fmt/format.h>

#include <exception>
#include <utility>

#include "common/DateText.h"
#include "common/PathText.h"
#include "common/Text.h"
#include "outbox/WaitingDocument.h"
#include "shell/RunPreparation.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t LinesThatTell = 5;

/// Somebody is at the screen as long as this lives. Whatever happens, nobody is afterwards, and nothing of
/// this send is left for another.
class ScreenRun {
 public:
  ScreenRun(RunFlags& flags, RunLists& lists) : flags_(flags), lists_(lists) {
    EmptyLists();
    // Documents are mailed once, together with those that waited before; were the scan to mail too, its own
    // would go alone.
    flags_ = {.ShowMessages = true, .SendingPPC = false, .SendAfterCollect = false};
  }
  ScreenRun(const ScreenRun&) = delete;
  ScreenRun& operator=(const ScreenRun&) = delete;
  ~ScreenRun() {
    flags_ = {};
    EmptyLists();
  }

 private:
  void EmptyLists() {
    lists_.PendingFiles.clear();
    lists_.Attachments.clear();
    lists_.PackedFiles.clear();
  }

  RunFlags& flags_;
  RunLists& lists_;
};

/// A window that is open as long as this lives.
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
  const bool faultlogs = EqualNoCase(program_.settings.SendFault, "true");
  const bool ppc = EqualNoCase(program_.settings.SendPPC, "true");
  if (!faultlogs && !ppc) {
    program_.ports.prompt.ShowMessage("Select the data to be send", MessageIcon::Information, "");
    program_.ports.prompt.ShowOptions(OptionsPage::Sending);
    return false;
  }
  RunPreparation preparation(program_);
  const std::string problem = preparation.Prepare(RunPreparation::EmptyLatestList::Leave);
  if (!problem.empty()) return Refuse(problem);
  const ScreenRun screenRun(program_.flags, program_.lists);
  program_.sendLoop.FinishInterruptedSend();
  return SendChosen(faultlogs, ppc);
}

/// One half's failure does not keep the other from its work; the user's wish to end does, and so does a list
/// of Latest folders that is still to be filled in.
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
  const ScanResult scan = ScanLatestFolders();
  if (!scan.began || scan.cancelled) return false;
  display.SetStep("Collecting unsent files...");
  if (!CollectUnsentFiles()) return false;
  const bool sent = program_.lists.Attachments.empty() || program_.sendLoop.SendData();
  return sent && scan.succeeded;
}

bool InteractiveSend::ProcessFaultlogData() {
  const ScanResult scan = ScanLatestFolders();
  return scan.began && !scan.cancelled;
}

ScanResult InteractiveSend::ScanLatestFolders() {
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
  return scan;
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

bool InteractiveSend::CollectUnsentFiles() {
  try {
    program_.ports.files.CreateFolders(program_.paths.FaultlogFolder("Process"));
    return CollectUnsent(PathFromUtf8(program_.settings.ProcessFolder));
  } catch (const FileError& error) {
    const std::string text = fmt::format("Description: {}", error.what());
    program_.log.WriteLog(text, LogCategory::Error);
    program_.ports.prompt.ShowMessage(text, MessageIcon::Exclamation, "");
    return false;
  }
}

bool InteractiveSend::CollectUnsent(const fs::path& folder) {
  const FileSystem& files = program_.ports.files;
  StatusDisplay& display = program_.ports.display;
  const std::vector<std::string> names = files.ListFiles(folder, ".xml");
  display.SetRange(names.size());
  for (std::size_t i = 0; i < names.size() && !IsCancelled(); ++i) {
    const fs::path document = folder / PathFromUtf8(names[i]);
    if (IsWaitingDocument(files, document, LinesThatTell) && !program_.sendLoop.WasSent(document)) {
      program_.lists.Attachments.push_back(document);
    }
    display.SetLabel(fmt::format("{} {}%", EscapeControls(names[i]), (i + 1) * 100 / names.size()));
    display.SetPosition(i + 1);
    display.ProcessEvents();
  }
  return !IsCancelled();
}

bool InteractiveSend::SendPpcData() {
  RunLists& lists = program_.lists;
  lists.PendingFiles.clear();
  program_.flags.SendingPPC = true;
  program_.ports.display.SetStep("Process PPC Data...");
  program_.ports.display.ProcessEvents();
  const bool zip = EqualNoCase(program_.settings.UseZip, "true");
  if (!CollectPpcData(zip)) return false;
  if (lists.Attachments.empty()) return true;
  return zip ? program_.sendLoop.SendPackedData() : program_.sendLoop.SendData();
}

bool InteractiveSend::CollectPpcData(bool zip) {
  const OpenWindow window(ppcWindow_);
  if (!program_.ppcAttachments.MakePPCFiles(program_.ports.display)) return false;
  return !zip || program_.lists.Attachments.empty() || PackPpcDocuments();
}

/// Names the documents of this run one by one: others of the same hour may lie beside them.
bool InteractiveSend::PackPpcDocuments() {
  RunLists& lists = program_.lists;
  std::string names;
  for (const fs::path& document : lists.Attachments) names += Utf8FromPath(document.filename()) + "\n";
  program_.ports.display.SetLabel("Packing PPC Data...");
  if (!program_.ppcAttachments.ZipPPCDocuments(names, program_.ports.display)) return false;
  lists.PackedFiles = std::exchange(lists.Attachments, {program_.ppcAttachments.ZipFile()});
  return true;
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
