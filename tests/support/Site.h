// A folder of its own with some of the program's parts, and a clock, a mail transport and a screen that the
// test sees.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "common/PathText.h"
#include "environment/MailSettings.h"
#include "environment/RegistryKeys.h"
#include "platform/SqliteKeyStore.h"
#include "support/DyingFileSystem.h"
#include "support/FakeClock.h"
#include "support/FakeTransport.h"
#include "support/RecordingUi.h"
#include "support/TempFolder.h"

namespace fieldpost::test {

/// `Parts` is what is tested: FieldpostProgram, or the parts of one module and those below it
/// (EnvironmentParts, OutboxParts, FaultlogParts, PpcParts). It is made from the site's ports and from the
/// program's own folder.
template <class Parts, class Prompt = RecordingPrompt, class Display = RecordingDisplay,
          class Transport = FakeTransport, class TestClock = FakeClock>
struct BasicSite {
  TempFolder folder;
  DyingFileSystem files;  ///< immortal unless the test says otherwise
  TestClock clock;
  std::filesystem::path home = folder.Folder("home");
  SqliteKeyStore keys{files, folder.Path() / "registry.sqlite"};
  Prompt prompt;
  Display display;
  Transport transport = MakeTransport();
  Parts program{{files, clock, keys, transport, prompt, display}, home};

  [[nodiscard]] std::filesystem::path Tree(std::string_view name) const {
    return home / "Faultlog" / PathFromUtf8(name);
  }

  Transport MakeTransport() {
    if constexpr (std::is_default_constructible_v<Transport>) {
      return Transport();
    } else {
      return Transport(files, clock, display);
    }
  }

  /// Puts a file into the Latest folder of the tree.
  std::filesystem::path Latest(std::string_view name, std::string_view content) const {
    return folder.Write("home/Faultlog/Latest/" + std::string(name), content);
  }

  void SetRegistry(std::string_view key, std::string_view valueName, std::string_view text) {
    program.registry.CreateNewKey(HKEY_LOCAL_MACHINE, key);
    program.registry.SetKeyValue(HKEY_LOCAL_MACHINE, key, valueName, std::string(text), REG_SZ);
  }

  /// The lines of today's log, each without its stamp.
  [[nodiscard]] std::vector<std::string> Log() const {
    std::vector<std::string> lines;
    const std::string text = ReadFile(program.log.TodaysFile());
    for (std::size_t from = 0; from < text.size();) {
      const std::size_t end = text.find("\r\n", from);
      if (end == std::string::npos) {
        lines.push_back("unfinished: " + text.substr(from));
        break;
      }
      lines.push_back(text.substr(std::min(text.find("  ", from) + 2, end), end - text.find("  ", from) - 2));
      from = end + 2;
    }
    return lines;
  }
};

/// A site as it stands after its first start, with the settings that a send needs, and no log yet today.
template <class Site>
struct AfterFirstStart : Site {
  AfterFirstStart() {
    this->program.tree.CreateFolderTree();
    std::filesystem::remove(this->program.log.TodaysFile());
    MailSettings& settings = this->program.settings;
    settings.SMTPServer = "mail.example";
    settings.SenderAddress = "site@partner.example";
    settings.PartnerID = "4711";
  }
};

}  // namespace fieldpost::test
