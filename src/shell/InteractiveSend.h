// A send that somebody at the screen started, from the Latest folders and the PPC database to the mailboxes.
#pragma once

#include <filesystem>
#include <functional>
#include <string_view>

#include "shell/FieldpostProgram.h"

namespace fieldpost {

/// The window that shows the PPC collection while it runs.
struct PpcCollectionWindow {
  std::function<void()> open = [] {};
  std::function<void()> close = [] {};
};

/// Does what the settings ask for: collects and mails faultlogger data, then PPC data. It shows where it is
/// on the program's display, asks and tells by the program's prompt, and logs. Its procedures never throw.
///
/// When the person at the screen wants the end, the step in hand ends as after a failure, the rest is left
/// for the next send, and one line of the log says so.
class InteractiveSend {
 public:
  explicit InteractiveSend(FieldpostProgram& program, PpcCollectionWindow ppcWindow = {});

  /// The whole send. True when all that the settings ask for was done; nothing to send is nothing wrong.
  bool Run();

  /// Works the Latest folders through, and writes down when that was. Without any such folder the person at
  /// the screen is asked for one. Whether the send may go on: files that could not be filed do not end it.
  bool ProcessFaultlogData();

  /// Fills the attachment list with the documents of the process folder that say within their first five
  /// lines that they were not sent. False when that could not be done, or the person at the screen wants the
  /// end.
  bool CollectUnsentFiles();

 private:
  bool SendChosen(bool faultlogs, bool ppc);
  bool Do(bool (InteractiveSend::*half)());
  bool SendFaultlogs();
  [[nodiscard]] ScanResult ScanLatestFolders();
  void AskForLatestFolder();
  void WriteCollectionTime();
  bool CollectUnsent(const std::filesystem::path& folder);
  bool SendPpcData();
  bool CollectPpcData(bool zip);
  bool PackPpcDocuments();
  bool Refuse(std::string_view reason);
  bool ShowError(std::string_view text);
  [[nodiscard]] bool IsCancelled() const { return program_.ports.display.IsCancelled(); }

  FieldpostProgram& program_;
  PpcCollectionWindow ppcWindow_;
};

}  // namespace fieldpost
