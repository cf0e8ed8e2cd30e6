#include "outbox/DocumentMarking.h"

#include <optional>

#include "common/Limits.h"
#include "common/PathText.h"
#include "common/RunLists.h"
#include "common/Text.h"
#include "outbox/DocumentMode.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t DocumentsPerFlush = 64;

/// False when it is not well-formed, and so has no root that could be marked.
bool WriteMarked(FileSystem& files, const fs::path& document) {
  const std::optional<std::string> marked = MarkedAsSent(files.ReadWhole(document, MaxDocumentBytes));
  if (marked) files.WriteReplacement(document, *marked);
  return marked.has_value();
}

std::string UnmarkableLine(const fs::path& document) {
  return FileError("cannot mark as sent", document,
                   "not well-formed; move it away, or every send mails it again")
      .what();
}

}  // namespace

bool IsDocument(const FileSystem& files, const fs::path& path) {
  return EndsWithNoCase(Utf8FromPath(path), ".xml") && files.IsFile(path);
}

MarkingResult MarkDocuments(FileSystem& files, std::span<const fs::path> documents,
                            const std::function<void(std::size_t)>& done) {
  MarkingResult result;
  PathList written;
  const auto replaceWritten = [&] {
    try {
      files.ReplaceAll(written);
    } catch (const FileError& error) {
      result.failures.emplace_back(error.what());
    }
    written.clear();
  };
  for (std::size_t i = 0; i < documents.size(); ++i) {
    done(i);
    try {
      if (!IsDocument(files, documents[i])) continue;
      if (WriteMarked(files, documents[i])) {
        written.push_back(documents[i]);
      } else {
        result.unmarkable.push_back(UnmarkableLine(documents[i]));
      }
    } catch (const FileError& error) {
      result.failures.emplace_back(error.what());
    }
    if (written.size() == DocumentsPerFlush) replaceWritten();
  }
  if (!written.empty()) replaceWritten();
  return result;
}

}  // namespace fieldpost
