#include "outbox/DocumentMarking.h"

#include <optional>

#include "common/Limits.h"
#include "common/PathText.h"
#include "common/Text.h"
#include "outbox/DocumentMode.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t DocumentsPerFlush = 64;

std::string UnmarkableLine(const fs::path& document) {
  return FileError("cannot mark as sent", document,
                   "not well-formed; move it away, or every send mails it again")
      .what();
}

/// Stages marked copies of documents and publishes them in groups.
class Marker {
 public:
  explicit Marker(FileSystem& files) : files_(files) {}

  void Mark(const fs::path& document, const ContentHash& mailed) {
    try {
      if (IsDocument(files_, document)) WriteMarked(document, mailed);
    } catch (const FileError& error) {
      result_.failures.emplace_back(error.what());
    }
    if (written_.size() == DocumentsPerFlush) ReplaceWritten();
  }

  MarkingResult Finish() {
    if (!written_.empty()) ReplaceWritten();
    return std::move(result_);
  }

 private:
  /// The bytes that are compared with the hash are those that are marked: a document that was changed after
  /// it was hashed never counts as sent.
  void WriteMarked(const fs::path& document, const ContentHash& mailed) {
    const std::string bytes = files_.ReadWhole(document, MaxDocumentBytes);
    if (HashContent(bytes) != mailed) {
      result_.changed.push_back(document);
      return;
    }
    const std::optional<std::string> marked = MarkedAsSent(bytes);
    if (!marked) {
      result_.unmarkable.push_back(UnmarkableLine(document));
      return;
    }
    files_.WriteReplacement(document, *marked);
    written_.push_back(document);
  }

  void ReplaceWritten() {
    try {
      files_.ReplaceAll(written_);
      result_.marked += written_.size();
    } catch (const FileError& error) {
      result_.failures.emplace_back(error.what());
    }
    written_.clear();
  }

  FileSystem& files_;
  PathList written_;  // documents whose replacement was written
  MarkingResult result_;
};

}  // namespace

bool IsDocument(const FileSystem& files, const fs::path& path) {
  return EndsWithNoCase(Utf8FromPath(path), ".xml") && files.IsFile(path);
}

MarkingResult MarkDocuments(FileSystem& files, const SentDocuments& documents,
                            const std::function<void(std::size_t)>& done) {
  Marker marker(files);
  std::size_t processed = 0;
  for (const auto& [path, content] : documents) {
    done(processed++);
    marker.Mark(path, content);
  }
  return marker.Finish();
}

}  // namespace fieldpost
