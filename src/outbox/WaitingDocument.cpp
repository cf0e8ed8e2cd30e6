#include "outbox/WaitingDocument.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "common/Limits.h"
#include "outbox/DocumentMode.h"

namespace fieldpost {
namespace {

constexpr std::size_t PieceBytes = 65536;

/// Receives a text in pieces and tells which part of each piece belongs to the first lines of the text.
class FirstLines {
 public:
  explicit FirstLines(std::size_t count) : left_(count) {}

  /// Returns the part of `piece` that belongs to the lines that are left.
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

/// Calls `onRead` with each piece that it reads.
bool Waits(FileReader& reader, std::size_t lines, const std::function<void(std::string_view)>& onRead) {
  // The root element of a document that was mailed says so in the first bytes, and nearly all documents were.
  std::string text(4096, '\0');
  text.resize(reader.Read(text));
  onRead(text);
  if (SaysSent(text)) return false;
  FirstLines first(lines);
  text.resize(first.Take(text).size());
  std::array<char, PieceBytes> buffer{};
  while (!SaysNotSent(text)) {
    const std::size_t got = first.Ended() ? 0 : reader.Read(buffer);
    if (got == 0) return false;
    const std::string_view piece(buffer.data(), got);
    onRead(piece);
    // The words may lie across two pieces.
    text.erase(0, text.size() - std::min(text.size(), NotSentMode.size() - 1));
    text.append(first.Take(piece));
  }
  return true;
}

}  // namespace

bool IsWaitingDocument(const FileSystem& files, const std::filesystem::path& document, std::size_t lines) {
  return Waits(*files.OpenForReading(document), lines, [](std::string_view) {});
}

std::optional<ContentHash> HashIfWaiting(const FileSystem& files, const std::filesystem::path& document,
                                         std::size_t lines, StatusDisplay& display) {
  const std::unique_ptr<FileReader> reader = files.OpenForReading(document);
  ContentHasher hasher;
  std::uint64_t size = 0;
  const auto add = [&](std::string_view piece) {
    hasher.Add(piece);
    size += piece.size();
    display.ProcessEvents();
  };
  if (!Waits(*reader, lines, add)) return std::nullopt;
  std::array<char, PieceBytes> buffer{};
  while (size <= MaxDocumentBytes) {
    const std::size_t got = reader->Read(buffer);
    if (got == 0) return hasher.Hash();
    add({buffer.data(), got});
  }
  throw FileTooLarge(document, MaxDocumentBytes);
}

}  // namespace fieldpost
