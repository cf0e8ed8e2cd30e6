#include "ppc/PpcDocuments.h"

#include <array>
#include <utility>

#include "common/DocumentNames.h"
#include "common/Limits.h"
#include "common/PathText.h"
#include "common/Utf8.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view LineEnd = "\r\n";
constexpr std::string_view NoArchiveDate = "<ArchiveDate></ArchiveDate>";
constexpr std::string_view Foot = "\r\n</PPCentries>";
constexpr std::size_t BufferBytes = 2 * 1024 * 1024;

}  // namespace

PpcDocuments::PpcDocuments(FileSystem& files, fs::path folder, std::string stem, std::string header)
    : files_(files),
      folder_(std::move(folder)),
      stem_(std::move(stem)),
      header_(std::move(header)),
      encoding_(DeclaredEncoding(header_)) {
  files_.CreateFolders(folder_);
  for (const std::string& name : files_.ListFiles(folder_, "")) {
    if (IsTemporaryName(name)) files_.Remove(folder_ / PathFromUtf8(name));
  }
}

PpcDocuments::~PpcDocuments() {
  if (documents_.empty()) return;
  try {
    for (const Document& document : documents_) files_.Remove(TemporaryNameFor(document.path));
  } catch (const FileError&) {
    // The next run removes them.
  }
}

void PpcDocuments::BeginEntry() {
  if (!open_) Open();
}

void PpcDocuments::AddText(std::string_view utf8) {
  characters_ += CountCharacters(utf8);
  encoding_.AppendTo(buffer_, utf8);
  if (buffer_.size() > BufferBytes) Write();
}

void PpcDocuments::EndEntry() {
  AddText(LineEnd);
  if (characters_ > MaxDocumentCharacters) Close();
}

void PpcDocuments::FoundArchiveDate(std::string_view xml) {
  archiveDate_.clear();
  encoding_.AppendTo(archiveDate_, xml);
}

std::string PpcDocuments::Head() {
  std::string head = header_;
  head.append(LineEnd).append("<PPCentries>").append(LineEnd);
  return head.append(archiveDate_.empty() ? NoArchiveDate : archiveDate_);
}

void PpcDocuments::Open() {
  const int number = static_cast<int>(documents_.size()) + 1;
  documents_.push_back({.path = folder_ / DocumentName(stem_, number)});
  open_ = true;
  characters_ = 0;
}

/// The head is written as late as possible, because the date may follow the first entries.
void PpcDocuments::Write() {
  Document& document = documents_.back();
  const fs::path temporary = TemporaryNameFor(document.path);
  if (document.headBytes == 0) {
    const std::string head = Head();
    document.headBytes = head.size();
    document.hasDate = !archiveDate_.empty();
    files_.WriteNew(temporary, head + buffer_, FileAccess::ByUmask);
  } else {
    files_.Append(temporary, buffer_);
  }
  buffer_.clear();
}

void PpcDocuments::Close() {
  buffer_ += Foot;
  Write();
  open_ = false;
}

void PpcDocuments::PutDateInto(Document& document) {
  const fs::path old = TemporaryNameFor(document.path);
  const fs::path whole = TemporaryNameFor(fs::path(document.path).concat(".dated"));
  const std::unique_ptr<FileReader> reader = files_.OpenForReading(old);
  std::string block(BufferBytes, '\0');
  std::size_t skip = document.headBytes;
  files_.WriteNew(whole, Head(), FileAccess::ByUmask);
  while (const std::size_t got = reader->Read(block)) {
    const std::size_t skipped = std::min(skip, got);
    skip -= skipped;
    files_.Append(whole, std::string_view(block).substr(skipped, got - skipped));
  }
  files_.Rename(whole, old);
}

PathList PpcDocuments::Publish(StatusDisplay& display) {
  if (open_) Close();
  if (documents_.empty()) return {};
  for (Document& document : documents_) {
    if (!document.hasDate && !archiveDate_.empty()) PutDateInto(document);
    display.ProcessEvents();
  }
  const std::array folder{folder_};
  files_.Flush(folder);
  PathList published;
  for (const Document& document : documents_) {
    files_.Rename(TemporaryNameFor(document.path), document.path);
    published.push_back(document.path);
    display.ProcessEvents();
  }
  documents_.clear();
  files_.Flush(folder);
  return published;
}

}  // namespace fieldpost
