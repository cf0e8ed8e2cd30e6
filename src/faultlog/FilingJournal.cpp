#include "faultlog/FilingJournal.h"

#include "common/SealedFields.h"

namespace fieldpost {
namespace {

constexpr std::string_view Title = "Fieldpost filing journal 3";

std::optional<FilingJournal::Superseded> NextSuperseded(SealedFieldReader& reader) {
  std::optional<std::filesystem::path> from = reader.NextPath();
  std::optional<std::filesystem::path> to = reader.NextPath();
  if (!from || !to) return std::nullopt;
  return FilingJournal::Superseded{.from = std::move(*from), .to = std::move(*to)};
}

std::optional<FilingJournal::Staged> NextStaged(SealedFieldReader& reader) {
  std::optional<std::filesystem::path> temporary = reader.NextPath();
  std::optional<std::filesystem::path> target = reader.NextPath();
  const std::optional<ContentHash> content = reader.NextHash();
  if (!temporary || !target || !content) return std::nullopt;
  return FilingJournal::Staged{
      .temporary = std::move(*temporary), .target = std::move(*target), .content = *content};
}

std::optional<FilingJournal::Source> NextSource(SealedFieldReader& reader) {
  std::optional<std::filesystem::path> path = reader.NextPath();
  const std::optional<ContentHash> content = reader.NextHash();
  if (!path || !content) return std::nullopt;
  return FilingJournal::Source{.path = std::move(*path), .content = *content};
}

/// Reads a number and then that many records; stops at the first record that is malformed.
template <typename Record>
std::vector<Record> NextRecords(SealedFieldReader& reader,
                                std::optional<Record> (*next)(SealedFieldReader&)) {
  std::vector<Record> records;
  for (std::size_t left = reader.NextNumber().value_or(0); left > 0; --left) {
    std::optional<Record> record = next(reader);
    if (!record) break;
    records.push_back(std::move(*record));
  }
  return records;
}

}  // namespace

std::string FilingJournal::ToBytes() const {
  SealedFieldWriter writer(Title);
  writer.AddPath(document);
  writer.AddNumber(superseded ? 1 : 0);
  if (superseded) {
    writer.AddPath(superseded->from);
    writer.AddPath(superseded->to);
  }
  writer.AddNumber(staged.size());
  for (const Staged& file : staged) {
    writer.AddPath(file.temporary);
    writer.AddPath(file.target);
    writer.AddHash(file.content);
  }
  writer.AddNumber(sources.size());
  for (const Source& source : sources) {
    writer.AddPath(source.path);
    writer.AddHash(source.content);
  }
  return writer.Finish();
}

std::optional<FilingJournal> FilingJournal::FromBytes(std::string_view bytes) {
  std::optional<SealedFieldReader> reader = SealedFieldReader::Open(Title, bytes);
  if (!reader) return std::nullopt;
  FilingJournal journal;
  journal.document = reader->NextPath().value_or(std::filesystem::path());
  if (reader->NextNumber() == 1) journal.superseded = NextSuperseded(*reader);
  journal.staged = NextRecords(*reader, NextStaged);
  journal.sources = NextRecords(*reader, NextSource);
  if (!reader->AtEnd()) return std::nullopt;
  return journal;
}

}  // namespace fieldpost
