// Writes PPC documents of bounded size.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/RunLists.h"
#include "platform/FileSystem.h"
#include "ppc/PpcEntryScanner.h"
#include "xml/XmlEncoding.h"

namespace fieldpost {

/// Gathers entries into documents, which lie under temporary names until all are published together.
class PpcDocuments final : public PpcEntrySink {
 public:
  /// Documents go into `folder` and are named after `stem`; each begins with `header`, in the encoding that
  /// it names. What earlier runs left unfinished in the folder is removed. Throws FileError or XmlError.
  PpcDocuments(FileSystem& files, std::filesystem::path folder, std::string stem, std::string header);

  /// Removes what was not published.
  ~PpcDocuments() override;

  void BeginEntry() override;
  void AddText(std::string_view utf8) override;
  void EndEntry() override;
  void FoundArchiveDate(std::string_view xml) override;

  /// Gives the documents their names, once all that they hold is durable; files of these names are replaced.
  /// Each path is added to `published` as soon as its file is there. Lets events run on `display`. Throws
  /// FileError or XmlError.
  void Publish(PathList& published, StatusDisplay& display);

  [[nodiscard]] std::size_t EntryCount() const { return entryCount_; }

 private:
  struct Document {
    std::filesystem::path path;
    bool hasDate = false;  // begun when the date was known
    std::size_t headBytes = 0;
  };

  [[nodiscard]] std::string Head();
  void Open();
  void Write();
  void Close();
  void PutDateInto(Document& document);

  FileSystem& files_;
  std::filesystem::path folder_;
  std::string stem_;
  std::string header_;
  XmlEncoding encoding_;
  std::string archiveDate_;
  std::vector<Document> documents_;
  bool open_ = false;           // the last document takes entries
  std::string buffer_;          // what it holds and was not written yet
  std::size_t characters_ = 0;  // of the text of its entries
  std::size_t entryCount_ = 0;
};

}  // namespace fieldpost
