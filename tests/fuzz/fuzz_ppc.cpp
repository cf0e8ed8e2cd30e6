// The PPC export: an input is one. Where "%LONG%" stands in it, a text stands that takes three of them to
// close a document.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "common/Text.h"
#include "fuzz/Fuzz.h"
#include "support/TestSite.h"
#include "xml/XmlDocument.h"

namespace fieldpost::fuzz {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view LongMark = "%LONG%";
constexpr std::size_t LongSize = 450'000;
constexpr std::size_t MostLong = 8;

std::string WithLongTexts(std::string_view text) {
  std::string result;
  for (std::size_t count = 0;; ++count) {
    const std::size_t at = count < MostLong ? text.find(LongMark) : std::string_view::npos;
    result.append(text.substr(0, at));
    if (at == std::string_view::npos) return result;
    result.append(LongSize, 'x');
    text.remove_prefix(at + LongMark.size());
  }
}

/// The entries that are no part of another one, by a parser that takes the whole document.
std::size_t OuterEntries(std::string_view xml) {
  XmlDocument document;
  Expect(document.Load(xml), "what is counted loads");
  std::size_t inner = 0;
  const std::vector<XmlElement> all = document.ElementsByTagName("PPCentry");
  std::string last;
  for (const XmlElement& entry : all) {
    XmlDocument alone;
    Expect(alone.Load(entry.Xml()), "an entry can be read on its own");
    inner = std::max<std::size_t>(inner, alone.ElementsByTagName("PPCentry").size());
  }
  return inner <= 1 ? all.size() : 0;
}

struct Documents {
  std::size_t entries = 0;
  std::size_t files = 0;
  bool loaded = true;
};

Documents Read(const PathList& paths) {
  Documents found;
  for (const fs::path& path : paths) {
    const std::string text = test::ReadFile(path);
    Expect(IsWellFormedXml(text), "every document is well-formed");
    XmlDocument document;
    if (document.Load(text)) {
      found.entries += document.ElementsByTagName("PPCentry").size();
    } else {
      found.loaded = false;  // one level deeper than what is read here
    }
    ++found.files;
  }
  return found;
}

}  // namespace
}  // namespace fieldpost::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace fieldpost;
  using namespace fieldpost::fuzz;
  const std::string text = WithLongTexts(TextOf(data, size));
  test::ReadySite site;
  site.folder.Write("home/PPCData.xml", text);
  const std::string header = site.program.ppcAttachments.ReadPPCHeader();
  Expect(IsWellFormedXml(header + "\r\n<PPCentries></PPCentries>"), "the header can head a document");
  const PpcCollection collected = site.program.ppcAttachments.MakePPCFilesQuiet(site.display);
  const bool made = collected.succeeded;
  const PathList paths = test::PathsOf(collected.documents);
  XmlDocument given;
  const bool loads = given.Load(text);
  Expect(made || paths.empty(), "a failure makes no documents");
  Expect(made == !fs::exists(site.home / "PPCData.xml"), "the export goes when its documents are there");
  const Documents documents = Read(paths);
  if (!made || !loads || !documents.loaded) return 0;
  const std::size_t expected = OuterEntries(text);
  Expect(expected == 0 || documents.entries == expected, "the documents hold the export's entries");
  return 0;
}
