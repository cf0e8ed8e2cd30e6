// A device's file: an input is one, as it lies in a Latest folder.
#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "common/Text.h"
#include "common/Utf8.h"
#include "faultlog/ArchivedFile.h"
#include "faultlog/BuildXML.h"
#include "faultlog/FaultloggerFile.h"
#include "fuzz/Fuzz.h"
#include "xml/XmlDocument.h"

namespace fieldpost::fuzz {
namespace {

constexpr LocalTime Today{.year = 2004, .month = 3, .day = 15};
constexpr std::string_view Wrapper = "TempElement";

/// An archived file of two entries that a new one is merged into.
constexpr std::string_view Archived =
    "<?xml version=\"1.0\"?>\n<FLFILE><PRODCODE>A</PRODCODE>"
    "<FAULTLOG No=\"1\"><MODEIND>P</MODEIND><TEXT>one</TEXT></FAULTLOG>"
    "<FAULTLOG No=\"2\"><MODEIND>P</MODEIND><TEXT>two</TEXT></FAULTLOG></FLFILE>\n";

std::string WithoutBlanks(std::string text) {
  std::erase_if(text, [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; });
  return text;
}

/// What is in the entries of a document, in order. Blanks do not count: where an element above an entry has
/// them preserved, an entry that is merged into another file leaves the element behind.
std::vector<std::string> EntriesOf(std::string_view xml) {
  XmlDocument document;
  Expect(document.Load(xml), "what was written loads again");
  std::vector<std::string> texts;
  for (const XmlElement& entry : document.ElementsByTagName("FAULTLOG")) {
    texts.push_back(WithoutBlanks(entry.Text()));
  }
  return texts;
}

/// No entry, and no container of entries, lies within an entry.
bool AreApart(std::string_view xml) {
  XmlDocument document;
  Expect(document.Load(xml), "what was written loads again");
  const std::vector<XmlElement> entries = document.ElementsByTagName("FAULTLOG");
  return std::all_of(entries.begin(), entries.end(), [](const XmlElement& entry) {
    XmlDocument alone;
    return alone.Load(entry.Xml()) && alone.ElementsByTagName("FAULTLOG").size() == 1 &&
           alone.ElementsByTagName("FLFILE").empty();
  });
}

void CheckRefused(const FaultloggerFile& file) {
  const std::string& reason = file.Reason();
  Expect(!reason.empty(), "a file is refused for a reason");
  Expect(std::none_of(reason.begin(), reason.end(), IsControl), "the reason is one line");
}

/// Setting a mode changes no product code, unless the mode lies within it.
bool HoldsModes(const XmlElement& productCode) {
  constexpr std::array names{std::string_view("MODEIND")};
  return productCode.Contains(names);
}

/// The file as it is archived.
void CheckFiled(FaultloggerFile& file, const std::string& productCode) {
  FaultloggerFile again;
  Expect(again.Load(file.Xml()), "a filed file loads again");
  Expect(again.IsComplete(), "a filed file stays complete");
  Expect(again.EntryCount() == file.EntryCount(), "a filed file holds its entries");
  XmlDocument document;
  Expect(document.Load(file.Xml()), "a filed file is well-formed");
  Expect(again.ProductCode() == productCode || HoldsModes(document.ElementsByTagName("PRODCODE").front()),
         "a filed file keeps its product code");
  const std::vector<XmlElement> modes = document.ElementsByTagName("MODEIND");
  const auto isTaken = [](const XmlElement& mode) { return mode.Text() == ProcessMode; };
  Expect(std::all_of(modes.begin(), modes.end(), isTaken), "every mode of a filed file is P");
}

void CheckMerged(std::string_view archived, std::string_view bytes) {
  ArchivedFile target;
  FaultloggerFile file;
  Expect(target.Load(archived) && file.Load(bytes), "an archived file loads");
  if (!target.MergeIntoArchived(file)) return;
  const std::string merged = target.Xml();
  Expect(ArchivedFile().Load(merged), "a merged file loads again");
  std::vector<std::string> expected = EntriesOf(archived);
  const std::vector<std::string> added = EntriesOf(bytes);
  expected.insert(expected.end(), added.begin(), added.end());
  std::vector<std::string> found = EntriesOf(merged);
  Expect(found.size() >= expected.size(), "merging loses no entry");
  if (!AreApart(archived) || !AreApart(bytes)) return;
  std::sort(expected.begin(), expected.end());
  std::sort(found.begin(), found.end());
  Expect(found == expected, "merging neither doubles nor changes an entry");
}

void CheckCombined(FaultloggerFile& file) {
  const std::size_t inContainer = EntriesOf(file.ContainerXml()).size();
  BuildXML builder;
  builder.OpenXML(Wrapper);
  builder.InsertXML(file);
  builder.InsertXML(file);
  const std::size_t length = builder.GetXMLLength() + Wrapper.size() + 3;
  const std::string text = std::move(builder).CloseXML(Wrapper);
  Expect(IsWellFormedXml(text), "what is gathered is well-formed");
  Expect(CountCharacters(text) == length, "the length is that of the text");
  XmlDocument alone;
  Expect(alone.Load(file.ContainerXml()), "a container can be read on its own");
  Expect(alone.ElementsByTagName("FAULTLOG").size() == inContainer, "a container holds its entries");
}

}  // namespace
}  // namespace fieldpost::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace fieldpost;
  using namespace fieldpost::fuzz;
  const std::string_view bytes = TextOf(data, size);
  FaultloggerFile file;
  if (!file.Load(bytes)) {
    CheckRefused(file);
    return 0;
  }
  if (!file.IsComplete() || !file.ReadyToFile(Today)) return 0;
  const std::string productCode = file.ProductCode();
  file.SetProcessMode();
  CheckFiled(file, productCode);
  CheckMerged(Archived, bytes);
  CheckMerged(file.Xml(), bytes);
  CheckCombined(file);
  return 0;
}
