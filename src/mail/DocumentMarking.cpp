#include "mail/DocumentMarking.h"

#include <optional>

#include "common/DocumentMode.h"
#include "common/PathText.h"
#include "common/RunLists.h"
#include "common/Text.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t DocumentsPerFlush = 64;

/// Whether there is anything to be put in the document's place.
bool WriteMarked(FileSystem& files, const fs::path& document) {
  if (!EndsWithNoCase(Utf8FromPath(document), ".xml") || !files.IsFile(document)) return false;
  const std::optional<std::string> marked = MarkedAsSent(files.ReadWhole(document, AnySize));
  if (!marked) return false;
  files.WriteReplacement(document, *marked);
  return true;
}

}  // namespace

std::vector<std::string> MarkDocuments(FileSystem& files, std::span<const fs::path> documents,
                                       const std::function<void(std::size_t)>& done) {
  std::vector<std::string> problems;
  PathList written;
  const auto replaceWritten = [&] {
    try {
      files.ReplaceAll(written);
    } catch (const FileError& error) {
      problems.emplace_back(error.what());
    }
    written.clear();
  };
  for (std::size_t i = 0; i < documents.size(); ++i) {
    done(i);
    try {
      if (WriteMarked(files, documents[i])) written.push_back(documents[i]);
    } catch (const FileError& error) {
      problems.emplace_back(error.what());
    }
    if (written.size() == DocumentsPerFlush) replaceWritten();
  }
  if (!written.empty()) replaceWritten();
  return problems;
}

}  // namespace fieldpost
