#include "environment/ModWriteLogFile.h"

#include <fmt/format.h>

#include <array>
#include <cstdio>

#include "common/DocumentNames.h"
#include "common/Limits.h"
#include "common/PathText.h"
#include "common/Text.h"

namespace fieldpost {
namespace {

constexpr std::array<std::string_view, 7> Tags{
    "", "[Mail]:", "[Search Latest]:", "[Create missing directory]:", "[Error]:", "[Log File]", "[PPC]:"};

/// Escapes and bounds a line, so that a hostile filename or setting cannot forge a line, control the terminal
/// or fill the log.
std::string EscapedAndBounded(std::string_view line) {
  const bool isComplete = line.size() <= MaxLogLineBytes;
  return EscapeControls(line.substr(0, MaxLogLineBytes)) + (isComplete ? "" : " ...");
}

bool IsKnown(std::int16_t category) {
  return category >= LogCategory::Mail && category <= LogCategory::Ppc;
}

std::string MailLine(const std::string& line) {
  return ContainsNoCase(line, "error: 0") ? "Mail Sent" : line;
}

}  // namespace

ModWriteLogFile::ModWriteLogFile(FileSystem& files, const Clock& clock, const InstallPaths& paths)
    : files_(files), clock_(clock), paths_(paths) {}

std::filesystem::path ModWriteLogFile::TodaysFile() const {
  return paths_.FaultlogFolder("Log") / LogFileName(clock_.Now());
}

void ModWriteLogFile::WriteLog(std::string_view text, std::int16_t category) {
  if (!SplitLogText(text)) return;
  const std::string entry = IsKnown(category) ? Entry(category) : "";
  pendingLogLines_.clear();
  try {
    files_.Append(TodaysFile(), entry);
  } catch (const FileError& error) {
    hasFailed_ = true;
    fmt::print(stderr, "{}{}\n", entry, error.what());
  }
}

bool ModWriteLogFile::SplitLogText(std::string_view text) {
  if (text.empty()) return false;
  const std::string whole = ThroughScratchFile(text);
  for (std::size_t from = 0; from < whole.size();) {
    const std::size_t end = std::min(whole.find_first_of("\r\n", from), whole.size());
    if (end > from) pendingLogLines_.push_back(whole.substr(from, end - from));
    from = end + 1;
  }
  return true;
}

std::string ModWriteLogFile::ThroughScratchFile(std::string_view text) {
  const std::filesystem::path scratch = paths_.OwnFolder() / "STemp.tmp";
  try {
    files_.Remove(scratch);
    files_.WriteNew(scratch, text, FileAccess::OwnerOnly);
    const std::string back = files_.ReadWhole(scratch, text.size());
    files_.Remove(scratch);
    // Another copy of the program may have written its text to the file meanwhile.
    if (back == text) return back;
  } catch (const FileError&) {
    // No line may be lost because of the scratch file.
  }
  return std::string(text);
}

std::string ModWriteLogFile::StampedLine(std::string_view tag, std::string_view text) const {
  return fmt::format("{}  {}{}\r\n", DateAndTime(clock_.Now()), tag, EscapedAndBounded(text));
}

std::string ModWriteLogFile::Entry(std::int16_t category) const {
  const std::string_view tag = Tags.at(static_cast<std::size_t>(category));
  if (category == LogCategory::LogFile) return StampedLine(tag, "");
  std::string entry;
  const std::size_t first = category == LogCategory::Mail ? 1 : 0;
  for (std::size_t i = first; i < pendingLogLines_.size(); ++i) {
    entry +=
        StampedLine(tag, category == LogCategory::Mail ? MailLine(pendingLogLines_[i]) : pendingLogLines_[i]);
  }
  return entry;
}

}  // namespace fieldpost
