// Reads a log file for the screen.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"

namespace fieldpost {

/// Reads a log file from front to back, in pieces of whole rows that a plain text view can show as they are.
/// The file is read to the size that it had when the reader was made; later lines are not seen. Of a log of
/// more than MaxShownLogBytes, the first piece is one row that says so, and the rest is the end of the log.
class LogReader {
 public:
  /// Bytes of the file in one piece, at most.
  static constexpr std::size_t PieceBytes = std::size_t{256} << 10U;

  /// Bytes of the file in one row, at most. A longer line continues in further rows, because a text view
  /// needs seconds to lay out a row of megabytes.
  static constexpr std::size_t MaxRowBytes = 4096;

  /// Opens a regular file. Throws FileError when that fails.
  LogReader(const FileSystem& files, const std::filesystem::path& file);

  /// Reads the next piece, as UTF-8. CR LF, LF and CR in the file become LF; the piece ends in LF, unless it
  /// is the last one of a file that does not. Control characters but the tab, and bytes that are not UTF-8,
  /// are escaped by EscapeControls. Returns an empty piece while the start of a large log is skipped, and
  /// nothing after the last piece. Throws FileError when the file cannot be read.
  [[nodiscard]] std::optional<std::string> Next();

 private:
  [[nodiscard]] std::string Notice() const;
  void Skip();
  void ReadMore(std::size_t wanted);
  std::string TakeRows();
  bool TakeRow(std::string_view& rest, std::string& piece) const;

  std::filesystem::path file_;
  std::unique_ptr<FileReader> reader_;
  std::uint64_t size_;         // bytes of the file when it was opened
  std::uint64_t left_;         // bytes of it that were not read yet
  std::string held_;           // bytes that were read and not returned: the start of a row
  bool isNoticeDue_ = false;   // a part of the log is not shown, and the row that says so was not returned
  bool isInsideLine_ = false;  // the skipped part may end inside a line
  bool isAtEnd_ = false;
};

}  // namespace fieldpost
