// A whole scan: an input is one file of a Latest folder, beside a good one.
#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "common/Text.h"
#include "fuzz/Fuzz.h"
#include "support/TestSite.h"
#include "xml/XmlDocument.h"

namespace fieldpost::fuzz {
namespace {

namespace fs = std::filesystem;
using test::FaultlogXml;

constexpr std::string_view Name = "given.xml";
constexpr std::string_view GoodName = "good.xml";

std::size_t EntryCount(const fs::path& file) {
  XmlDocument document;
  Expect(document.Load(test::ReadFile(file)), "every file that was written loads");
  return document.ElementsByTagName("FAULTLOG").size();
}

/// The archived files of a name, whatever their product code.
std::vector<fs::path> ArchivedAs(const test::ReadySite& site, std::string_view name) {
  std::vector<fs::path> found;
  for (const auto& entry : fs::recursive_directory_iterator(site.Tree("Archive"))) {
    if (entry.path().filename() == name) found.push_back(entry.path());
  }
  return found;
}

/// A file of the Archive that namesakes of the product code "A" are merged into.
void Archive(const test::ReadySite& site) {
  fs::create_directories(site.Tree("Archive") / "A");
  std::ofstream(site.Tree("Archive") / "A" / Name, std::ios::binary) << FaultlogXml("A", "PP");
}

/// Where the input is now: it is in one place, whole.
void CheckInput(const test::ReadySite& site, std::string_view bytes) {
  const bool left = fs::exists(site.Tree("Latest") / Name);
  const bool refused = fs::exists(site.Tree("Error") / Name);
  if (left) Expect(test::ReadFile(site.Tree("Latest") / Name) == bytes, "a file that is left is untouched");
  if (refused) Expect(test::ReadFile(site.Tree("Error") / Name) == bytes, "a refused file is untouched");
  Expect(!left || !refused, "a file is in one place");
  FaultloggerFile given;
  const bool good = given.Load(bytes) && given.IsComplete();
  std::size_t archived = 0;
  for (const fs::path& file : ArchivedAs(site, Name)) archived += EntryCount(file);
  if (left || refused) {
    Expect(archived == 2, "what was not filed is not in the archive");
  } else {
    Expect(good && archived >= 2 + given.EntryCount(), "every entry of what was filed is in the archive");
  }
}

void CheckGoodFile(const test::ReadySite& site) {
  const std::vector<fs::path> archived = ArchivedAs(site, GoodName);
  Expect(archived.size() == 1 && EntryCount(archived.front()) == 3, "the file beside it was filed");
  Expect(!fs::exists(site.Tree("Latest") / GoodName), "a filed file leaves its folder");
}

void CheckDocuments(const test::ReadySite& site) {
  std::size_t good = 0;
  for (const auto& entry : fs::directory_iterator(site.Tree("Process"))) {
    const std::string text = test::ReadFile(entry.path());
    Expect(IsWellFormedXml(text), "every document is well-formed");
    Expect(RootAttribute(text, "Mode") == "Not Sent", "every document waits");
    for (std::size_t at = text.find("<TEXT>good</TEXT>"); at != std::string::npos;
         at = text.find("<TEXT>good</TEXT>", at + 1)) {
      ++good;
    }
  }
  Expect(good >= 3, "the entries of the file beside it are in a document");
}

void CheckLog(const test::ReadySite& site) {
  const std::string text = Replaced(test::ReadFile(site.program.log.TodaysFile()), "\r\n", "");
  Expect(std::none_of(text.begin(), text.end(), IsControl),
         "the log has no control character but its line ends");
}

}  // namespace
}  // namespace fieldpost::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace fieldpost;
  using namespace fieldpost::fuzz;
  const std::string_view bytes = TextOf(data, size);
  test::ReadySite site;
  Archive(site);
  site.Latest(GoodName, FaultlogXml("GOOD", "EEE", "20040101", "good"));
  site.Latest(Name, bytes);
  Expect(site.program.scan.ProcessLatestFiles(site.display).began, "the Latest folder is processed");
  CheckInput(site, bytes);
  CheckGoodFile(site);
  CheckDocuments(site);
  CheckLog(site);
  return 0;
}
