// The daily activity log.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "environment/InstallPaths.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The numbers of the log categories and their tags.
struct LogCategory {
  static constexpr std::int16_t Mail = 1;           ///< "[Mail]:"; the first line of the text is omitted
  static constexpr std::int16_t SearchLatest = 2;   ///< "[Search Latest]:"
  static constexpr std::int16_t CreateMissing = 3;  ///< "[Create missing directory]:"
  static constexpr std::int16_t Error = 4;          ///< "[Error]:"
  static constexpr std::int16_t LogFile = 5;        ///< "[Log File]"; only the tag is written
  static constexpr std::int16_t Ppc = 6;            ///< "[PPC]:"
};

/// Writes the activity log: a text file for each day, in the Log folder of the Faultlog tree.
class ModWriteLogFile {
 public:
  /// All arguments must outlive the object.
  ModWriteLogFile(FileSystem& files, const Clock& clock, const InstallPaths& paths);

  /// Appends each non-empty line of `text` (UTF-8) to today's log, with date, time and the tag of `category`
  /// (see LogCategory). An unknown category writes no line but creates the file. Lines that cannot be written
  /// to the log go to standard error. Never throws.
  void WriteLog(std::string_view text, std::int16_t category);

  /// Appends the non-empty lines of `text` to PendingLogLines. Returns false when the text is empty.
  bool SplitLogText(std::string_view text);

  /// Whether any line could not be written to the log and went to standard error instead.
  [[nodiscard]] bool HasFailed() const { return hasFailed_; }

  /// Returns the lines that SplitLogText has collected; WriteLog empties the list.
  [[nodiscard]] const std::vector<std::string>& PendingLogLines() const { return pendingLogLines_; }

  /// Returns the path of today's log file, which may be missing.
  [[nodiscard]] std::filesystem::path TodaysFile() const;

 private:
  [[nodiscard]] std::string ThroughScratchFile(std::string_view text);
  [[nodiscard]] std::string StampedLine(std::string_view tag, std::string_view text) const;
  [[nodiscard]] std::string Entry(std::int16_t category) const;

  FileSystem& files_;
  const Clock& clock_;
  const InstallPaths& paths_;
  std::vector<std::string> pendingLogLines_;
  bool hasFailed_ = false;
};

}  // namespace fieldpost
