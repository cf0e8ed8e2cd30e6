// The files of one product code with their size, date and mode.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "archive/ModeIndicator.h"
#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// One archived file, as a row of the list.
struct ArchiveRow {
  std::string name;  ///< without its folder, as the file system has it
  FileStamp stamp;
  std::string_view mode;  ///< the word for its mode indicator; lives as long as the program
  bool wasRead = true;    ///< false when the file could not be read
};

/// Formats a size in bytes for the list: from 1001 on right-aligned in ten places, with a point before the
/// last three digits.
std::string SizeText(std::uint64_t bytes);

/// Formats the time of a file for the list: its local date, "dd.mm.yyyy".
std::string ModifiedText(const FileStamp& stamp);

/// Lists the files of one product code at a time. The mode of a file is read again only when its name, size,
/// time or place on the disk has changed.
class ArchiveList {
 public:
  explicit ArchiveList(const FileSystem& files) : files_(files) {}

  /// Lists the "*.xml" files of a product code's folder in the order of their names. The range of `display`
  /// is the number of files. Returns early when `display` is cancelled. Throws FileError when the folder
  /// cannot be listed. In both cases the rows so far stay. A file that is removed meanwhile gets no row; an
  /// unreadable file is shown as one without a mode indicator.
  void Fill(const std::filesystem::path& archive, const std::string& productCode, StatusDisplay& display);

  /// Removes all rows; the modes that were read are kept for the next Fill.
  void Clear();

  [[nodiscard]] const std::vector<ArchiveRow>& Rows() const { return rows_; }

 private:
  using Remembered = std::vector<ArchiveRow>;  // in the order of the names

  void AddRow(const FolderHandle& folder, std::string name, Remembered::const_iterator& known,
              Remembered::const_iterator end, StatusDisplay& display);
  void ReadMode(const FolderHandle& folder, ArchiveRow& row, StatusDisplay& display);

  const FileSystem& files_;
  ModeIndicatorReader reader_;
  std::vector<ArchiveRow> rows_;
  std::filesystem::path listed_;  // the folder that the rows are of
  std::map<std::filesystem::path, Remembered> remembered_;
};

}  // namespace fieldpost
