#include "archive/ModeIndicator.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "common/Limits.h"
#include "common/Text.h"
#include "xml/XmlError.h"
#include "xml/XmlStreamReader.h"

namespace fieldpost {
namespace {

constexpr std::string_view ElementName = "MODEIND";
constexpr std::size_t PieceBytes = std::size_t{64} * 1024;
constexpr std::size_t LongestText = 1000;

/// Keeps the text of the first mode indicator.
class FirstIndicator final : public XmlHandler {
 public:
  void StartElement(const XmlStartTag& tag) override {
    if (depth_ > 0) ++depth_;
    if (text_ || !tag.prefix.empty() || tag.name != ElementName) return;
    text_.emplace();
    depth_ = 1;
  }

  void EndElement() override {
    if (depth_ > 0) --depth_;
  }

  /// White space at both ends is cut off later; what is in between counts, however long it is.
  void Text(std::string_view part) override {
    if (depth_ == 0) return;
    const std::size_t room = LongestText - std::min(text_->size(), LongestText);
    if (text_->empty()) part.remove_prefix(std::min(part.find_first_not_of(" \t\r\n"), part.size()));
    text_->append(part.substr(0, room));
    if (part.size() <= room || text_->size() > LongestText) return;
    const std::string_view rest = Trimmed(part.substr(room));
    if (!rest.empty()) *text_ += rest.front();
  }

  [[nodiscard]] std::optional<std::string> Result() const {
    if (!text_) return std::nullopt;
    return std::string(Trimmed(*text_));
  }

 private:
  std::optional<std::string> text_;
  std::size_t depth_ = 0;  // within the indicator; 0 outside
};

/// Fills the buffer, unless the file ends before.
std::string_view ReadPiece(FileReader& file, std::vector<char>& buffer) {
  std::size_t filled = 0;
  while (const std::size_t count = file.Read(std::span(buffer).subspan(filled))) filled += count;
  return {buffer.data(), filled};
}

std::string Lower(const std::optional<std::string>& indicator) {
  return indicator ? ToLowerAscii(*indicator) : std::string();
}

}  // namespace

std::string_view ModeWord(const std::optional<std::string>& indicator) {
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 6> words{
      {{"a", "Archive"},
       {"p", "Process"},
       {"", "Partial"},
       {"e", "Error"},
       {"r", "Recect"},
       {"f", "Fault logged"}}};
  if (!indicator) return NoModeIndicator;
  const std::string letter = Lower(indicator);
  const auto* const word =
      std::find_if(words.begin(), words.end(), [&](const auto& one) { return one.first == letter; });
  return word == words.end() ? std::string_view() : word->second;
}

bool IsProcessMode(const std::optional<std::string>& indicator) {
  return Lower(indicator) == "p";
}

ModeIndicatorReader::ModeIndicatorReader() : piece_(PieceBytes) {}

std::optional<std::string> ModeIndicatorReader::Read(FileReader& file, StatusDisplay& display) {
  FirstIndicator indicator;
  XmlStreamReader reader(indicator, {.limits = {.attributes = MaxShownAttributes}, .attributes = false});
  try {
    for (;;) {
      const std::string_view piece = ReadPiece(file, piece_);
      if (piece.size() < piece_.size()) {
        reader.Finish(piece);
        return indicator.Result();
      }
      reader.Feed(piece);
      display.ProcessEvents();
      if (display.IsCancelled()) return std::nullopt;
    }
  } catch (const XmlError&) {
    return std::nullopt;
  }
}

}  // namespace fieldpost
