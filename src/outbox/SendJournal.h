// Records what the mail server accepted, before any document of it is marked.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "common/ContentHash.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Documents that were mailed, with the hash of the content that was mailed.
using SentDocuments = std::map<std::filesystem::path, ContentHash>;

/// A file "FLog.sent" in the folder of the documents, which only its owner may read. A listed document that
/// still has the listed content was mailed and is not marked yet; it must not be mailed again.
/// Operations that fail throw FileError.
class SendJournal {
 public:
  explicit SendJournal(FileSystem& files) : files_(files) {}

  /// Returns the documents in the journal of a folder. Empty when the journal is missing, or incomplete
  /// because the program ended while it wrote the journal.
  [[nodiscard]] SentDocuments Read(const std::filesystem::path& folder) const;

  /// Writes the journal of a folder and flushes it.
  void Write(const std::filesystem::path& folder, const SentDocuments& documents);

  /// Removes the journal of a folder; a missing journal is not an error.
  void Remove(const std::filesystem::path& folder);

 private:
  FileSystem& files_;
};

/// Whether these documents include one of this path and content.
[[nodiscard]] bool WasSent(const SentDocuments& documents, const std::filesystem::path& path,
                           const ContentHash& content);

/// Returns the journal as bytes that end in their checksum.
[[nodiscard]] std::string BytesOf(const SentDocuments& documents);

/// Returns the documents of a journal, or nothing when the bytes are not a complete journal.
[[nodiscard]] std::optional<SentDocuments> SentDocumentsFrom(std::string_view bytes);

}  // namespace fieldpost
