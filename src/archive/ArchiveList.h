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

/// One archived file.
struct ArchiveRow {
  std::string name;  ///< without its folder, as the file system has it
  FileStamp stamp;
  std::string_view mode;  ///< the word for its mode indicator; lives as long as the program
  bool wasRead = true;    ///< false when the file could not be read
};

/// How a size in bytes is shown: from 1001 on in ten places with a point before the last three digits.
std::string SizeText(std::uint64_t bytes);

/// How a file's time is shown: its local date, "dd.mm.yyyy".
std::string ModifiedText(const FileStamp& stamp);

/// The rows of the product code that was listed last. What was read of a file is remembered as long as its
/// name, size, time and place on the disk are the same.
class ArchiveList {
 public:
  explicit ArchiveList(const FileSystem& files) : files_(files) {}

  /// Lists the "*.xml" files of a product code's folder in the order of their names. The range of `display`
  /// is the number of files. Returns early when `display` asks for the end. Throws FileError when the folder
  /// cannot be listed. Either way the rows so far stay. A file that is gone meanwhile gets no row; one that
  /// cannot be read counts as one without a mode indicator.
  void Fill(const std::filesystem::path& archive, const std::string& productCode, StatusDisplay& display);

  /// Forgets the rows, but not what was read.
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
