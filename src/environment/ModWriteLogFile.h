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

/// What a log entry is about, by the number of its category.
struct LogCategory {
  static constexpr std::int16_t Mail = 1;           ///< "[Mail]:", without the text's first line
  static constexpr std::int16_t SearchLatest = 2;   ///< "[Search Latest]:"
  static constexpr std::int16_t CreateMissing = 3;  ///< "[Create missing directory]:"
  static constexpr std::int16_t Error = 4;          ///< "[Error]:"
  static constexpr std::int16_t LogFile = 5;        ///< "[Log File]", the tag alone
  static constexpr std::int16_t Ppc = 6;            ///< "[PPC]:"
};

/// One text file a day, in the Log folder of the Faultlog tree.
class ModWriteLogFile {
 public:
  ModWriteLogFile(FileSystem& files, const Clock& clock, const InstallPaths& paths);

  /// Appends each non-empty line of a UTF-8 text to today's log, stamped and tagged. An unknown category
  /// writes no line, but makes the file. What cannot be written goes to standard error. Never throws.
  void WriteLog(std::string_view text, std::int16_t category);

  /// Puts the non-empty lines of a text into the list of lines to be written. False for an empty text.
  bool SplitLogText(std::string_view text);

  /// Some line could not be written to the log, and went to standard error.
  [[nodiscard]] bool HasFailed() const { return hasFailed_; }

  [[nodiscard]] const std::vector<std::string>& PendingLogLines() const { return pendingLogLines_; }

  /// Today's log file.
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
