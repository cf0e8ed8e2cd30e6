// A site for scans of Latest folders, and what they leave.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "support/FaultlogParts.h"
#include "xml/XmlDocument.h"

namespace fieldpost::test {

/// The texts of all elements of a name, in the order of the document.
inline std::vector<std::string> TextsIn(std::string_view xml, std::string_view element) {
  XmlDocument document;
  EXPECT_TRUE(document.Load(xml)) << document.Reason() << ": " << xml;
  std::vector<std::string> texts;
  if (!document.IsLoaded()) return texts;
  for (const XmlElement& one : document.ElementsByTagName(element)) texts.push_back(one.Text());
  return texts;
}

/// How often each text of a TEXT element stands in the files "*.xml" below a folder.
inline std::map<std::string, int> CountTexts(const std::filesystem::path& folder) {
  std::map<std::string, int> count;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file() || entry.path().extension() != ".xml") continue;
    for (const std::string& text : TextsIn(ReadFile(entry.path()), "TEXT")) ++count[text];
  }
  return count;
}

struct ScanSite : ReadyFaultlogSite {
  ScanResult Scan() { return program.scan.ProcessLatestFiles(display); }

  /// A scan by another program on the same site, over these files.
  ScanResult ScanByNextRun(FileSystem& nextFiles) {
    FaultlogParts next({nextFiles, clock, keys, transport, prompt, display}, home);
    next.settings = program.settings;
    next.lists.LatestFolderList = program.lists.LatestFolderList;
    return next.scan.ProcessLatestFiles(display);
  }

  [[nodiscard]] std::set<std::string> Archived(std::string_view product) const {
    return Names(Tree("Archive") / PathFromUtf8(product));
  }
  [[nodiscard]] std::string ArchivedXml(std::string_view product, std::string_view name) const {
    return ReadFile(Tree("Archive") / PathFromUtf8(product) / PathFromUtf8(name));
  }
  [[nodiscard]] std::filesystem::path DocumentPath(
      std::string_view name = "FLog.4711.200403151401.xml") const {
    return Tree("Process") / PathFromUtf8(name);
  }
  [[nodiscard]] std::string Document(std::string_view name = "FLog.4711.200403151401.xml") const {
    return ReadFile(DocumentPath(name));
  }

  /// Fills the hour up with documents: numbers 1 to 98 were sent, number 99 has this text.
  void FillHour(std::string_view number99) const {
    for (int i = 1; i <= 98; ++i) WriteDocument(i, "<FLFILE Mode=\"Sent\"/>");
    WriteDocument(99, number99);
  }
  std::filesystem::path WriteDocument(int number, std::string_view text) const {
    return folder.Write(fmt::format("home/Faultlog/Process/FLog.4711.2004031514{:02}.xml", number), text);
  }
};

}  // namespace fieldpost::test
