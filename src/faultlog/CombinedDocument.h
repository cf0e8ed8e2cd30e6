// Gathers accepted files into the documents that are mailed.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "faultlog/BuildXML.h"
#include "faultlog/FilingBatch.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The combined document in hand, cut at a size limit and written to the process folder as "Not Sent".
/// Writing it publishes the batch of files whose entries it holds.
class CombinedDocument {
 public:
  CombinedDocument(FileSystem& files, const Clock& clock, const MailSettings& settings, RunLists& lists,
                   ModWriteLogFile& log, StatusDisplay& display, FilingBatch& batch,
                   std::filesystem::path processFolder);

  /// Takes in a complete file, or with no file and `isLast` writes what is left. False when a document could
  /// not be written; the log says why, and the files of its batch stay in their Latest folders.
  bool AppendToCombinedDocument(FaultloggerFile* file, bool isLast);

  /// Writes one document: the wrapper tags are removed, `Mode`="Not Sent" is set on the root, the file is
  /// named by the hour and added to `PendingFiles`. `elementCount` is how many elements a builder put into
  /// the text; a text that comes from elsewhere is read first, to see whether it loads.
  bool SaveCombinedDocument(std::string closedText, std::optional<std::size_t> elementCount = std::nullopt);

  /// The number for the next file of this hour in a folder.
  [[nodiscard]] int NextProcessSequence(const std::filesystem::path& folder) const;

  /// Gives documents that had to make room for another one (see SaveCombinedDocument) a name of the current
  /// hour, while it has one left, and adds them to `PendingFiles`.
  void RestoreDisplacedDocuments();

  /// How many files were filed with the documents written so far.
  [[nodiscard]] std::size_t FiledCount() const { return filedCount_; }

 private:
  bool Publish(std::string_view text);
  [[nodiscard]] std::string NameStem() const;
  [[nodiscard]] int NextNumber(std::string_view stem, const std::filesystem::path& folder) const;
  void KeepDisplaced(const std::filesystem::path& document);

  FileSystem& files_;
  const Clock& clock_;
  const MailSettings& settings_;
  RunLists& lists_;
  ModWriteLogFile& log_;
  StatusDisplay& display_;
  FilingBatch& batch_;
  std::filesystem::path processFolder_;
  std::optional<BuildXML> CombinedBuilder_;
  std::size_t filedCount_ = 0;
  std::size_t displacedNumber_ = 0;
};

}  // namespace fieldpost
