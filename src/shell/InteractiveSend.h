// The send that the user starts in the window.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "outbox/DocumentCollection.h"
#include "outbox/Shipment.h"
#include "shell/FieldpostProgram.h"

namespace fieldpost {

/// The window that shows the PPC collection while it runs.
struct PpcCollectionWindow {
  std::function<void()> open = [] {};
  std::function<void()> close = [] {};
};

/// What came of processing the Latest folders.
struct CollectionOutcome {
  bool maySend = false;  ///< the folders were processed, though perhaps not every file could be filed
  bool succeeded = false;
};

/// Collects and mails faultlogger data, then PPC data, as the settings say. Shows its progress on the
/// program's display, asks and reports in message boxes, and logs. Its procedures never throw. When the user
/// cancels, the current step ends as after a failure, the rest is left for the next send, and one line of the
/// log says so.
class InteractiveSend {
 public:
  /// `program` must outlive the object.
  explicit InteractiveSend(FieldpostProgram& program, PpcCollectionWindow ppcWindow = {});

  /// Does the whole send. Returns whether everything that the settings ask for was done; that there is
  /// nothing to send is not a failure.
  [[nodiscard]] bool Run();

  /// Processes the Latest folders and stores the time of the collection. Without a Latest folder it asks the
  /// user for one.
  [[nodiscard]] CollectionOutcome ProcessFaultlogData();

  /// Collects the documents of the Process folder whose first five lines contain "Not Sent". A document that
  /// is unreadable or too large is reported and not returned. Returns nothing when the folder is unreadable,
  /// which is reported.
  [[nodiscard]] std::optional<CollectedDocuments> CollectUnsentFiles();

 private:
  [[nodiscard]] bool SendChosen(bool faultlogs, bool ppc);
  [[nodiscard]] bool Do(bool (InteractiveSend::*half)());
  bool SendFaultlogs();
  bool SendPpcData();
  [[nodiscard]] std::optional<Shipment> CollectPpcData(bool zip);
  [[nodiscard]] bool PackPpcDocuments(Shipment& shipment);
  [[nodiscard]] CollectedDocuments CollectFrom(const std::filesystem::path& folder);
  void AskForLatestFolder();
  void WriteCollectionTime();
  bool Refuse(std::string_view reason);
  bool ShowError(std::string_view text);
  void ReportDescriptions(std::span<const std::string> problems);
  [[nodiscard]] bool IsCancelled() const { return program_.ports.display.IsCancelled(); }

  FieldpostProgram& program_;
  PpcCollectionWindow ppcWindow_;
};

}  // namespace fieldpost
