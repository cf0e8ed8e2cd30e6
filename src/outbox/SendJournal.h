// What the mail server has taken, noted before any document of it is touched.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "common/ContentHash.h"
#include "common/RunLists.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Documents of sets that were mailed whole, and what was in them then.
using SentDocuments = std::map<std::filesystem::path, ContentHash>;

/// A file beside the documents, readable by its owner alone. A document that it names, and that is still as
/// it was mailed, waits to be marked, and must not be mailed again. Operations that can fail throw FileError.
class SendJournal {
 public:
  explicit SendJournal(FileSystem& files) : files_(files) {}

  /// What an earlier run noted in this folder and did not come to mark. Nothing when there is no journal, or
  /// none that is whole: the program then ended while it wrote it.
  [[nodiscard]] SentDocuments Read(const std::filesystem::path& folder) const;

  /// Writes the journal; it would survive a power cut when this returns.
  void Write(const std::filesystem::path& folder, const SentDocuments& documents);

  /// Removes it, once every document is marked.
  void Remove(const std::filesystem::path& folder);

 private:
  FileSystem& files_;
};

/// The journal as bytes that end in their own check sum.
std::string BytesOf(const SentDocuments& documents);

/// Nothing when the bytes are not a whole journal.
std::optional<SentDocuments> SentDocumentsFrom(std::string_view bytes);

}  // namespace fieldpost
