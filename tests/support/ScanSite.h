// A site for scans of Latest folders, and what they leave.
#pragma once

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "support/TestSite.h"
#include "xml/XmlDocument.h"

namespace fieldpost::test {

struct ScanSite : ReadySite {
  void Scan() { program.scan.ProcessLatestFiles(display); }

  [[nodiscard]] std::set<std::string> Archived(std::string_view product) const {
    return Names(Tree("Archive") / PathFromUtf8(product));
  }
  [[nodiscard]] std::string ArchivedXml(std::string_view product, std::string_view name) const {
    return ReadFile(Tree("Archive") / PathFromUtf8(product) / PathFromUtf8(name));
  }
  [[nodiscard]] std::string Document(std::string_view name = "FLog.4711.200403151401.xml") const {
    return ReadFile(Tree("Process") / PathFromUtf8(name));
  }
};

/// The texts of all elements of a name, in the order of the document.
inline std::vector<std::string> TextsIn(std::string_view xml, std::string_view element) {
  XmlDocument document;
  EXPECT_TRUE(document.Load(xml)) << document.Reason() << ": " << xml;
  std::vector<std::string> texts;
  for (const XmlElement& one : document.ElementsByTagName(element)) texts.push_back(one.Text());
  return texts;
}

}  // namespace fieldpost::test
