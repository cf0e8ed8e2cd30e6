#include "outbox/WaitingDocument.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "outbox/DocumentMode.h"

namespace fieldpost {
namespace {

/// Takes pieces of a text, and tells how much of each lies within its first lines.
class FirstLines {
 public:
  explicit FirstLines(std::size_t count) : left_(count) {}

  /// What of `piece` lies within the lines that are left.
  std::string_view Take(std::string_view piece) {
    for (std::size_t at = 0; left_ > 0; ++at) {
      at = piece.find('\n', at);
      if (at == std::string_view::npos) return piece;
      if (--left_ == 0) return piece.substr(0, at);
    }
    return {};
  }

  [[nodiscard]] bool Ended() const { return left_ == 0; }

 private:
  std::size_t left_;
};

}  // namespace

bool IsWaitingDocument(const FileSystem& files, const std::filesystem::path& document, std::size_t lines) {
  // The root says it in the first few bytes of every document that was mailed, and those are nearly all.
  const std::unique_ptr<FileReader> reader = files.OpenForReading(document);
  std::string text(4096, '\0');
  text.resize(reader->Read(text));
  if (SaysSent(text)) return false;
  FirstLines within(lines);
  text.resize(within.Take(text).size());
  std::array<char, 65536> buffer{};
  while (!SaysNotSent(text)) {
    const std::size_t got = within.Ended() ? 0 : reader->Read(buffer);
    if (got == 0) return false;
    // The words may lie across two pieces.
    text.erase(0, text.size() - std::min(text.size(), NotSentMode.size() - 1));
    text.append(within.Take({buffer.data(), got}));
  }
  return true;
}

}  // namespace fieldpost
