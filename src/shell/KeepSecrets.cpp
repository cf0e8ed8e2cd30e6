#include "shell/KeepSecrets.h"

#include <fmt/format.h>

#include <vector>

#include "common/PathText.h"
#include "common/Text.h"

namespace fieldpost {

void KeepSecrets(const Ports& ports, const MailSettingsStore& settings, ModWriteLogFile& log) {
  std::vector<std::filesystem::path> secrets = ports.keys.Files();
  secrets.push_back(settings.File());
  for (const std::filesystem::path& file : secrets) {
    try {
      if (!ports.files.KeepToOwner(file)) continue;
      log.WriteLog(
          fmt::format("{} was open to others; it is kept to its owner now. If somebody may have read "
                      "it, change the mail password",
                      EscapeControls(Utf8FromPath(file))),
          LogCategory::Error);
    } catch (const FileError& error) {
      log.WriteLog(error.what(), LogCategory::Error);
    }
  }
}

}  // namespace fieldpost
