#include "outbox/SendJournal.h"

#include <utility>

#include "common/SealedFields.h"
#include "platform/JournalFile.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view JournalName = "FLog.sent";
constexpr std::string_view Title = "Fieldpost send journal 1";

}  // namespace

SentDocuments SendJournal::Read(const fs::path& folder) const {
  const std::optional<std::string> bytes = ReadJournalFile(files_, folder / JournalName);
  if (!bytes) return {};
  return SentDocumentsFrom(*bytes).value_or(SentDocuments());
}

/// A new journal is written under its own name at once, so that the next run finds it even when the program
/// is killed before the flush.
void SendJournal::Write(const fs::path& folder, const SentDocuments& documents) {
  const fs::path file = folder / JournalName;
  if (files_.Exists(file)) {
    files_.SaveAtomically(file, BytesOf(documents), FileAccess::OwnerOnly);
    return;
  }
  files_.WriteNew(file, BytesOf(documents), FileAccess::OwnerOnly);
  files_.Flush({&folder, 1});
}

void SendJournal::Remove(const fs::path& folder) {
  files_.Remove(folder / JournalName);
}

bool WasSent(const SentDocuments& documents, const fs::path& path, const ContentHash& content) {
  const auto found = documents.find(path);
  return found != documents.end() && found->second == content;
}

std::string BytesOf(const SentDocuments& documents) {
  SealedFieldWriter writer(Title);
  for (const auto& [path, content] : documents) {
    writer.AddPath(path);
    writer.AddHash(content);
  }
  return writer.Finish();
}

std::optional<SentDocuments> SentDocumentsFrom(std::string_view bytes) {
  std::optional<SealedFieldReader> reader = SealedFieldReader::Open(Title, bytes);
  if (!reader) return std::nullopt;
  SentDocuments documents;
  while (!reader->AtEnd()) {
    std::optional<fs::path> path = reader->NextPath();
    const std::optional<ContentHash> content = reader->NextHash();
    if (!path || !content) return std::nullopt;
    documents.insert_or_assign(std::move(*path), *content);
  }
  return documents;
}

}  // namespace fieldpost
