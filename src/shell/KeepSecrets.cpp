#include "shell/KeepSecrets.h"

#include <fmt/format.h>

#include "common/PathText.h"
#include "common/Text.h"

namespace fieldpost {

std::vector<std::string> KeepSecrets(const Ports& ports, const MailSettingsStore& settings) {
  std::vector<std::filesystem::path> secrets = ports.keys.Files();
  secrets.push_back(settings.File());
  std::vector<std::string> lines;
  for (const std::filesystem::path& file : secrets) {
    try {
      if (!ports.files.KeepToOwner(file)) continue;
      lines.push_back(fmt::format(
          "{} was accessible to other users; now only its owner can access it. If somebody may have "
          "read it, change the mail password",
          EscapeControls(Utf8FromPath(file))));
    } catch (const FileError& error) {
      lines.emplace_back(error.what());
    }
  }
  return lines;
}

}  // namespace fieldpost
