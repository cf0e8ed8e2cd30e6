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

/// Collects entries into documents, which have temporary names until all are published together.
class PpcDocuments final : public PpcEntrySink {
 public:
  /// The documents are written into `folder` and named after `stem`. Each begins with `header`, in the
  /// encoding that it declares. Removes temporary files that an interrupted run left in the folder. Throws
  /// FileError or XmlError.
  PpcDocuments(FileSystem& files, std::filesystem::path folder, std::string stem, std::string header);

  /// Removes the documents that were not published.
  ~PpcDocuments() override;

  void BeginEntry() override;
  void AddText(std::string_view utf8) override;
  void EndEntry() override;
  void FoundArchiveDate(std::string_view xml) override;

  /// Flushes the documents and renames them to their names, which replaces files of these names. Processes
  /// events on `display`. Returns their paths in order; empty when there was no entry. Throws FileError or
  /// XmlError; documents that were renamed before then stay.
  [[nodiscard]] PathList Publish(StatusDisplay& display);

 private:
  struct Document {
    std::filesystem::path path;
    bool hasDate = false;  // the date was known when its head was written
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
  bool open_ = false;           // the last document is not complete
  std::string buffer_;          // its text that is not written yet
  std::size_t characters_ = 0;  // in the text of its entries
};

}  // namespace fieldpost
