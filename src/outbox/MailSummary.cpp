#include "outbox/MailSummary.h"

#include <fmt/format.h>

#include <cstdint>
#include <stdexcept>

#include "common/CharMask.h"
#include "common/Limits.h"
#include "common/PathText.h"
#include "common/Text.h"

namespace fieldpost {

std::string BuildMailSummary(const FileSystem& files, const PathList& attachments, DataKind kind) {
  if (attachments.empty()) return {};
  const std::string_view section = kind == DataKind::Ppc ? "PPC" : "Faultlog";
  std::string names = fmt::format("[{} Files]\r\nTotal={}", section, attachments.size());
  std::string sizes;
  std::uint64_t total = 0;
  for (std::size_t i = 0; i < attachments.size(); ++i) {
    const std::uint64_t size = files.Stamp(attachments[i]).size;
    total += size;
    if (total > MaxAttachmentBytes) {
      throw std::overflow_error("the files of one mail are larger than 2147483647 bytes together");
    }
    names +=
        fmt::format("\r\nFileNumber{}={}", i + 1, EscapeControls(Utf8FromPath(attachments[i].filename())));
    sizes += fmt::format("\r\nFileSize{}={}", i + 1, Trimmed(FormatCharMask(size, "@@@@@@@@.@@@")));
  }
  return fmt::format("{}\r\n\r\n[{} File Size]\r\nTotalFilesize={}{}", names, section,
                     Trimmed(FormatCharMask(total, "@@@@@@@.@@@")), sizes);
}

}  // namespace fieldpost
