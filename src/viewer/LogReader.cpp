#include "viewer/LogReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>

#include "common/Limits.h"
#include "common/PathText.h"
#include "common/Text.h"
#include "common/Utf8.h"

namespace fieldpost {
namespace {

bool NeedsNoEscape(char byte) {
  return (byte >= ' ' && byte < 0x7F) || byte == '\t';
}

void AppendShown(std::string_view line, std::string& piece) {
  if (std::all_of(line.begin(), line.end(), NeedsNoEscape)) {
    piece += line;
    return;
  }
  for (std::size_t tab = line.find('\t'); tab != std::string_view::npos; tab = line.find('\t')) {
    piece.append(EscapeControls(line.substr(0, tab))).push_back('\t');
    line.remove_prefix(tab + 1);
  }
  piece += EscapeControls(line);
}

std::uint64_t MebibytesRoundedUp(std::uint64_t bytes) {
  constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20U;
  return (bytes + mebibyte - 1) / mebibyte;
}

}  // namespace

LogReader::LogReader(const FileSystem& files, const std::filesystem::path& file)
    : file_(file), reader_(files.OpenForReading(file)), size_(files.Stamp(file).size), left_(size_) {
  isNoticeDue_ = isInsideLine_ = size_ > MaxShownLogBytes;
}

std::optional<std::string> LogReader::Next() {
  if (isAtEnd_) return std::nullopt;
  if (isNoticeDue_) {
    isNoticeDue_ = false;
    return Notice();
  }
  if (left_ > MaxShownLogBytes) {
    Skip();
    return std::string();
  }
  ReadMore(PieceBytes);
  isAtEnd_ = left_ == 0;
  return TakeRows();
}

std::string LogReader::Notice() const {
  return fmt::format("The log has {} MiB; only its last {} MiB are shown. The whole log is in {}\n",
                     MebibytesRoundedUp(size_), MebibytesRoundedUp(MaxShownLogBytes),
                     EscapeControls(Utf8FromPath(file_)));
}

/// Drops one piece of what is not shown.
void LogReader::Skip() {
  ReadMore(static_cast<std::size_t>(std::min<std::uint64_t>(PieceBytes, left_ - MaxShownLogBytes)));
  held_.clear();
}

/// Appends up to `wanted` bytes of the file to the buffer. Ends reading when the file has become shorter.
void LogReader::ReadMore(std::size_t wanted) {
  const std::size_t before = held_.size();
  held_.resize(before + static_cast<std::size_t>(std::min<std::uint64_t>(wanted, left_)));
  const std::size_t got = reader_->Read(std::span(held_).subspan(before));
  held_.resize(before + got);
  left_ = got == 0 ? 0 : left_ - got;
}

/// Returns the complete rows of the buffer; at the end of the file, all rows.
std::string LogReader::TakeRows() {
  std::string_view rest = held_;
  if (isInsideLine_) rest.remove_prefix(std::min(rest.find('\n') + 1, rest.size()));
  isInsideLine_ = false;
  std::string piece;
  piece.reserve(rest.size());
  while (TakeRow(rest, piece)) continue;
  held_.erase(0, held_.size() - rest.size());
  return piece;
}

/// False when `rest` does not tell where its first row ends.
bool LogReader::TakeRow(std::string_view& rest, std::string& piece) const {
  const std::string_view row = rest.substr(0, MaxRowBytes + 1);
  const std::string_view line = row.substr(0, row.find('\n'));
  const std::size_t end = line.substr(0, line.find('\r')).size();
  if (end > MaxRowBytes) {
    constexpr std::size_t restOfCharacter = 3;
    if (rest.size() < MaxRowBytes + restOfCharacter && !isAtEnd_) return false;
    const std::size_t cut = CharacterBoundary(rest, MaxRowBytes);
    AppendShown(rest.substr(0, cut), piece);
    piece += '\n';
    rest.remove_prefix(cut);
    return true;
  }
  const std::string_view lineEnd = rest.substr(end, 2);
  if (lineEnd.size() < 2 && !isAtEnd_ && lineEnd != "\n") return false;  // the row, or its CR LF, may go on
  AppendShown(rest.substr(0, end), piece);
  if (!lineEnd.empty()) piece += '\n';
  rest.remove_prefix(end + (lineEnd == "\r\n" ? 2 : std::min<std::size_t>(lineEnd.size(), 1)));
  return !rest.empty();
}

}  // namespace fieldpost
