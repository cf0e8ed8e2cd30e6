#include "xml/Utf8Source.h"

#include <utility>

#include "common/Text.h"
#include "xml/XmlError.h"

namespace fieldpost {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t BlockBytes = 65536;

/// Returns "UTF-16LE" or "UTF-16BE" by the mark or by the zero byte beside the first "<"; empty for any other
/// encoding.
std::string_view Utf16Kind(std::string_view beginning) {
  if (beginning.starts_with("\xFF\xFE"sv) || beginning.starts_with("<\0"sv)) return "UTF-16LE";
  if (beginning.starts_with("\xFE\xFF"sv) || beginning.starts_with("\0<"sv)) return "UTF-16BE";
  return {};
}

bool HasUtf16Mark(std::string_view beginning) {
  return beginning.starts_with("\xFF\xFE"sv) || beginning.starts_with("\xFE\xFF"sv);
}

}  // namespace

Utf8Source::Utf8Source(std::unique_ptr<FileReader> reader)
    : reader_(std::move(reader)), block_(BlockBytes, '\0') {}

std::string_view Utf8Source::Read() {
  std::size_t filled = 0;
  while (filled < block_.size()) {
    const std::size_t got = reader_->Read(std::span(block_).subspan(filled));
    if (got == 0) break;
    filled += got;
  }
  return std::string_view(block_).substr(0, filled);
}

std::string_view Utf8Source::First() {
  std::string_view bytes = Read();
  if (const std::string_view kind = Utf16Kind(bytes); !kind.empty()) {
    if (HasUtf16Mark(bytes)) bytes.remove_prefix(2);
    encoding_ = std::make_unique<XmlEncoding>(std::string(kind));
    return bytes;
  }
  constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
  const bool marked = bytes.starts_with(utf8Mark);
  if (marked) bytes.remove_prefix(utf8Mark.size());
  const std::string declared = marked ? std::string() : DeclaredEncoding(bytes);
  if (ContainsNoCase(declared, "UTF-16")) throw XmlError("the file says that it is UTF-16, but it is not");
  encoding_ = std::make_unique<XmlEncoding>(declared);
  return bytes;
}

std::string_view Utf8Source::Next() {
  for (;;) {
    const std::string_view bytes = encoding_ ? Read() : First();
    if (bytes.empty()) {
      if (encoding_->IsCutOff()) throw XmlError("the text ends within a character");
      return {};
    }
    const std::string_view text = encoding_->ToUtf8(bytes);
    if (!text.empty()) return text;
  }
}

}  // namespace fieldpost
