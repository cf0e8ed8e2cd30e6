#include "ppc/PPCAttachments.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <utility>

#include "common/DocumentNames.h"
#include "common/PathText.h"
#include "common/Text.h"
#include "outbox/ZipArchive.h"
#include "ppc/PpcDocuments.h"
#include "ppc/PpcEntryScanner.h"
#include "ppc/PpcSearchPattern.h"
#include "xml/XmlDocument.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view PlainHeader = "<?xml version=\"1.0\"?>";
constexpr std::size_t LongestHeader = 8192;  // bytes; a longer one is ignored
constexpr std::size_t WholeBar = 100;

/// Counts the entries of a scan.
class EntryCounter final : public PpcEntrySink {
 public:
  void BeginEntry() override {}
  void AddText(std::string_view) override {}
  void EndEntry() override { ++count_; }
  void FoundArchiveDate(std::string_view) override {}

  [[nodiscard]] std::size_t Count() const { return count_; }

 private:
  std::size_t count_ = 0;
};

/// Passes everything on, and shows the number of each entry on the display.
class ShownEntries final : public PpcEntrySink {
 public:
  ShownEntries(PpcEntrySink& next, std::size_t total, StatusDisplay& display)
      : next_(next), total_(total), display_(display) {
    display_.SetRange(total);
  }

  void BeginEntry() override {
    ++number_;
    display_.SetLabel(
        fmt::format("PPC Count: {}/{} {}%", number_, total_, number_ * 100 / std::max(total_, number_)));
    next_.BeginEntry();
  }
  void AddText(std::string_view utf8) override { next_.AddText(utf8); }
  void EndEntry() override {
    next_.EndEntry();
    display_.SetPosition(number_);
    display_.ProcessEvents();
    ThrowIfCancelled(display_);
  }
  void FoundArchiveDate(std::string_view xml) override { next_.FoundArchiveDate(xml); }

 private:
  PpcEntrySink& next_;
  std::size_t total_;
  StatusDisplay& display_;
  std::size_t number_ = 0;
};

std::string FirstBytes(const FileSystem& files, const fs::path& path, std::size_t count) {
  const std::unique_ptr<FileReader> reader = files.OpenForReading(path);
  std::string bytes(count, '\0');
  std::size_t filled = 0;
  while (const std::size_t got = reader->Read(std::span(bytes).subspan(filled))) filled += got;
  bytes.resize(filled);
  return bytes;
}

/// Removes the first line from a text and returns it without its end. Empty when the text has no line end.
std::string TakeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  if (end == std::string_view::npos) return {};
  std::string_view line = text.substr(0, end);
  text.remove_prefix(end + 1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return std::string(line);
}

/// Whether the header followed by an element is a well-formed document.
bool CanHeadDocument(const std::string& header) {
  return IsWellFormedXml(header + "\r\n<PPCentries></PPCentries>");
}

}  // namespace

PPCAttachments::PPCAttachments(const RunContext& run, ModAttachment& database, UserPrompt& prompt)
    : run_(run), database_(database), prompt_(prompt) {}

PpcCollection PPCAttachments::MakePPCFiles(StatusDisplay& display) {
  return MakeFiles(Audience::Screen, display);
}

PpcCollection PPCAttachments::MakePPCFilesQuiet(StatusDisplay& display) {
  return MakeFiles(Audience::LogAlone, display);
}

PpcCollection PPCAttachments::MakeFiles(Audience audience, StatusDisplay& display) {
  try {
    database_.ExportPPCData(display);
    if (!run_.files.IsFile(database_.ExportFile())) {
      ReportMissing(audience);
      return {};
    }
    PpcCollection collection{.succeeded = true, .documents = {}};
    for (fs::path& document : Extract(audience, display))
      collection.documents.push_back({.path = std::move(document)});
    if (collection.documents.empty()) ReportEmpty(audience);
    run_.files.Remove(database_.ExportFile());
    return collection;
  } catch (const Cancelled&) {
    return {};
  } catch (const std::exception& error) {
    ReportFault(audience, error.what());
    return {};
  }
}

PathList PPCAttachments::Extract(Audience audience, StatusDisplay& display) {
  const fs::path source = database_.ExportFile();
  PpcDocuments documents(run_.files, Folder(), Stem(), ReadPPCHeader());
  if (audience == Audience::LogAlone) {
    ScanPpcFile(run_.files, source, documents, display);
  } else {
    display.SetLabel("Dissect and analyse PPC file...");
    EntryCounter counter;
    ScanPpcFile(run_.files, source, counter, display);
    ShownEntries shown(documents, counter.Count(), display);
    ScanPpcFile(run_.files, source, shown, display);
  }
  return documents.Publish(display);
}

void PPCAttachments::ReportMissing(Audience audience) {
  run_.log.WriteLog("PPCdata path not found or Quillon is not installed", LogCategory::Error);
  if (audience == Audience::LogAlone) return;
  prompt_.ShowMessage("PPC Path or File not found!", MessageIcon::Exclamation, "Path or File not found!");
}

void PPCAttachments::ReportEmpty(Audience audience) {
  constexpr std::string_view text = "No PPC Data";
  run_.log.WriteLog(text, LogCategory::Ppc);
  if (audience == Audience::Screen) prompt_.ShowMessage(text, MessageIcon::Information, "FP PPC");
}

void PPCAttachments::ReportFault(Audience audience, std::string_view description) {
  run_.log.WriteLog(fmt::format("PPC Error ({})", description), LogCategory::Error);
  if (audience == Audience::LogAlone) return;
  prompt_.ShowMessage(fmt::format("Error: {}", description), MessageIcon::Critical, "Error");
}

std::string PPCAttachments::ReadPPCHeader() const {
  const std::string bytes = FirstBytes(run_.files, database_.ExportFile(), LongestHeader);
  std::string_view rest = bytes;
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  if (rest.starts_with(mark)) rest.remove_prefix(mark.size());
  const std::string first = TakeLine(rest);
  const std::string text = first + "\r\n" + TakeLine(rest);
  if (ContainsNoCase(text, "xml version") && ContainsNoCase(text, "ppcdb.dll") && text.ends_with("-->") &&
      CanHeadDocument(text)) {
    return text;
  }
  return std::string(PlainHeader);
}

PpcZip PPCAttachments::ZipPPCDocuments(std::string_view files, StatusDisplay& display) {
  const fs::path zip = Folder() / ZipName(Stem());
  display.SetRange(WholeBar);
  ZipResult result;
  try {
    run_.files.Remove(zip);
    result = WriteZip(run_.files, FilesToProcess(files), zip, display,
                      [&display](int percent) { XceedZip1_GlobalStatus(percent, display); });
  } catch (const FileError& error) {
    result = {.code = -1, .description = error.what()};
  }
  if (result.code != 0 && !result.cancelled) {
    run_.log.WriteLog(result.description, LogCategory::Error);
    prompt_.ShowMessage(result.description, MessageIcon::None, "");
  }
  return {.packed = result.code == 0, .file = zip, .zipResult = result.code};
}

PathList PPCAttachments::FilesToProcess(std::string_view lines) const {
  PathList found;
  while (!lines.empty()) {
    const std::size_t end = std::min(lines.find('\n'), lines.size());
    const std::string_view line = Trimmed(lines.substr(0, end));
    lines.remove_prefix(std::min(end + 1, lines.size()));
    if (!line.empty()) AddFilesOf(PathFromUtf8(line), found);
  }
  return found;
}

/// A name without a pattern is looked up alone: listing the folder for each of hundreds of names would be
/// slow.
void PPCAttachments::AddFilesOf(const fs::path& given, PathList& found) const {
  const fs::path whole = given.has_parent_path() ? given : Folder() / given;
  if (run_.files.IsFile(whole)) {
    found.push_back(whole);
    return;
  }
  const PathList matching = FilesOfPattern(run_.files, Utf8FromPath(whole));
  found.insert(found.end(), matching.begin(), matching.end());
}

void PPCAttachments::XceedZip1_GlobalStatus(int percent, StatusDisplay& display) {
  display.SetPosition(static_cast<std::size_t>(percent));
}

fs::path PPCAttachments::Folder() const {
  return run_.paths.FaultlogFolder("PPCTemp");
}

std::string PPCAttachments::Stem() const {
  return DocumentStem(PpcPrefix, run_.settings.PartnerID, run_.clock.Now());
}

}  // namespace fieldpost
