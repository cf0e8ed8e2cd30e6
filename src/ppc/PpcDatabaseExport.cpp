#include "ppc/PpcDatabaseExport.h"

#include <fmt/format.h>

#include <string>
#include <vector>

#include "common/PathText.h"
#include "common/Text.h"
#include "ppc/PpcEntryScanner.h"
#include "ppc/PpcError.h"
#include "ppc/PpcSearchPattern.h"
#include "xml/XmlError.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view Beginning =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
    "<!-- exported by Fieldpost in place of ppcdb.dll -->\r\n"
    "<PPCData>\r\n";
constexpr std::string_view Ending = "</PPCData>\r\n";
constexpr std::size_t BufferBytes = 1024 * 1024;

/// Writes entries and the first `ArchiveDate`, one after the other, into the export.
class ExportFile final : public PpcEntrySink {
 public:
  ExportFile(FileSystem& files, fs::path path) : files_(files), path_(std::move(path)), buffer_(Beginning) {
    files_.Remove(path_);
    files_.WriteNew(path_, {}, FileAccess::OwnerOnly);
  }

  void BeginEntry() override { inEntry_ = true; }

  void AddText(std::string_view utf8) override {
    buffer_ += utf8;
    if (buffer_.size() > BufferBytes) Write();
  }

  void EndEntry() override {
    inEntry_ = false;
    AddText("\r\n");
  }

  /// A date within an entry is written with that entry, and is the first in the export too.
  void FoundArchiveDate(std::string_view xml) override {
    if (dateFound_) return;
    dateFound_ = true;
    if (inEntry_) return;
    AddText(xml);
    AddText("\r\n");
  }

  void Finish() {
    AddText(Ending);
    Write();
  }

 private:
  void Write() {
    files_.Append(path_, buffer_);
    buffer_.clear();
  }

  FileSystem& files_;
  fs::path path_;
  std::string buffer_;
  bool inEntry_ = false;
  bool dateFound_ = false;
};

void WriteExport(FileSystem& files, const std::vector<fs::path>& database, const fs::path& output,
                 StatusDisplay& display) {
  ExportFile target(files, output);
  for (const fs::path& file : database) {
    try {
      ScanPpcFile(files, file, target, display);
    } catch (const XmlError& error) {
      throw PpcError(fmt::format("{}: {}", EscapeControls(Utf8FromPath(file)), error.what()));
    }
  }
  target.Finish();
}

/// The error that led here is the one to report.
void RemoveUnfinished(FileSystem& files, const fs::path& file) noexcept {
  try {
    if (files.Exists(file)) files.Remove(file);
  } catch (const std::exception&) {
    // The next export replaces it.
  }
}

}  // namespace

bool ExportPpcDatabase(FileSystem& files, std::string_view pattern, const fs::path& output,
                       StatusDisplay& display) {
  std::vector<fs::path> database = FilesOfPattern(files, pattern);
  std::erase(database, output);
  if (database.empty()) return false;
  const fs::path temporary = TemporaryNameFor(output);
  try {
    WriteExport(files, database, temporary, display);
    files.Rename(temporary, output);
    return true;
  } catch (const std::exception&) {
    RemoveUnfinished(files, temporary);
    throw;
  }
}

}  // namespace fieldpost
