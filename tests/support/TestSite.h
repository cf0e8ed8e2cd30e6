// A whole program on a folder of its own, with a clock, a mail transport and a screen that the test sees.
#pragma once

#include <fmt/format.h>

#include <string>
#include <type_traits>
#include <vector>

#include "common/PathText.h"
#include "platform/SqliteKeyStore.h"
#include "shell/FieldpostProgram.h"
#include "support/DyingFileSystem.h"
#include "support/FakeClock.h"
#include "support/FakeTransport.h"
#include "support/RecordingUi.h"
#include "support/TempFolder.h"

namespace fieldpost::test {

/// `Prompt` and `Display` are what the program meets the user through, `Transport` carries its mails.
template <class Prompt, class Display, class Transport = FakeTransport, class TestClock = FakeClock>
struct BasicSite {
  TempFolder folder;
  DyingFileSystem files;  ///< immortal unless the test says otherwise
  TestClock clock;
  std::filesystem::path home = folder.Folder("home");
  SqliteKeyStore keys{files, folder.Path() / "registry.sqlite"};
  Prompt prompt;
  Display display;
  Transport transport = MakeTransport();
  FieldpostProgram program{{files, clock, keys, transport, prompt, display}, home};

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

/// A site whose prompt and display write down what they are told.
using TestSite = BasicSite<RecordingPrompt, RecordingDisplay>;

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
using ReadySite = AfterFirstStart<TestSite>;

/// The paths of `PendingFiles`, in order.
inline PathList PathsOf(const std::vector<PendingFile>& pending) {
  PathList paths;
  for (const PendingFile& one : pending) paths.push_back(one.path);
  return paths;
}

/// A faultlogger file with one entry for each mode letter.
inline std::string FaultlogXml(std::string_view productCode, std::string_view modes = "F",
                               std::string_view date = "20040101", std::string_view text = "text") {
  std::string entries;
  int number = 0;
  for (const char mode : modes) {
    entries += fmt::format(
        "<FAULTLOG No=\"{}\"><MODEIND>{}</MODEIND><CONDATE>{}</CONDATE><TEXT>{}</TEXT></FAULTLOG>", ++number,
        mode, date, text);
  }
  return fmt::format(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<FLFILE><PRODCODE>{}</PRODCODE>{}</FLFILE>\n", productCode,
      entries);
}

}  // namespace fieldpost::test
