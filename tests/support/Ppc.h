// Fixtures for tests of PPC data.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Utf8.h"
#include "ppc/PpcEntryScanner.h"
#include "support/FaultlogXml.h"
#include "support/PpcParts.h"

namespace fieldpost::test {

/// A sink that keeps the entries and dates of a scan.
class KeepingSink final : public PpcEntrySink {
 public:
  std::vector<std::string> entries;
  std::vector<std::string> dates;
  std::size_t pieces = 0;
  bool piecesWhole = true;  ///< whether each begins with a whole character

  void BeginEntry() override { entries.emplace_back(); }
  void AddText(std::string_view utf8) override {
    entries.back() += utf8;
    ++pieces;
    if (!utf8.empty() && !FirstCharacter(utf8).isWellFormed) piecesWhole = false;
  }
  void EndEntry() override {}
  void FoundArchiveDate(std::string_view xml) override { dates.emplace_back(xml); }
};

/// A site with a PPC database in the folder "db".
struct PpcSite : ReadyPpcSite {
  PpcSite() {
    program.flags.SendingPPC = true;
    program.flags.SendAfterCollect = true;
  }

  PathList documents;  ///< of the latest collection

  /// Keeps the documents of a collection. Returns whether it succeeded.
  bool Keep(const PpcCollection& collection) {
    documents = PathsOf(collection.documents);
    return collection.succeeded;
  }

  void SetDatabase(const std::filesystem::path& value) {
    SetRegistry(PpcDatabaseKey, PpcFileNameValue, Utf8FromPath(value));
  }

  /// Adds a file to the database, and sets the database in the registry.
  std::filesystem::path Database(std::string_view name, std::string_view content) {
    SetDatabase(folder.Path() / "db");
    return folder.Write("db/" + std::string(name), content);
  }

  /// Writes an export for a site without a database.
  std::filesystem::path Export(std::string_view content) const {
    return folder.Write("home/PPCData.xml", content);
  }

  [[nodiscard]] std::filesystem::path Temp(std::string_view name = "") const {
    return Tree("PPCTemp") / PathFromUtf8(name);
  }

  /// Returns the content of document number 01, 02, ... of this hour.
  [[nodiscard]] std::string Document(std::string_view number = "01") const {
    return ReadFile(Temp("PPC.4711.2004031514" + std::string(number) + ".xml"));
  }
};

}  // namespace fieldpost::test
