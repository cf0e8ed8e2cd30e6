#include "mail/WaitingDocument.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "common/DocumentMode.h"

namespace fieldpost {

bool IsWaitingDocument(const FileSystem& files, const std::filesystem::path& document) {
  // The root says it in the first few bytes of every document that was mailed, and those are nearly all.
  const std::unique_ptr<FileReader> reader = files.OpenForReading(document);
  std::string text(4096, '\0');
  text.resize(reader->Read(text));
  if (SaysSent(text)) return false;
  std::array<char, 65536> buffer{};
  while (!SaysNotSent(text)) {
    const std::size_t got = reader->Read(buffer);
    if (got == 0) return false;
    // The words may lie across two pieces.
    text.erase(0, text.size() - std::min(text.size(), NotSentMode.size() - 1)).append(buffer.data(), got);
  }
  return true;
}

}  // namespace fieldpost
