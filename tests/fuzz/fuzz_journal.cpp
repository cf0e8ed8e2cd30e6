// The journals' form: an input is the fields behind a title, to which the right check sum is put.
#include <string>
#include <string_view>

#include "common/ContentHash.h"
#include "faultlog/FilingJournal.h"
#include "fuzz/Fuzz.h"
#include "outbox/SendJournal.h"

namespace fieldpost::fuzz {
namespace {

/// The line that a journal begins with.
std::string TitleOf(const std::string& empty) {
  return empty.substr(0, empty.find('\n') + 1);
}

std::string Sealed(const std::string& title, std::string_view fields) {
  std::string bytes = title;
  bytes += fields;
  return bytes += ToHex(HashContent(bytes));
}

std::string BytesOf(const FilingJournal& journal) {
  return journal.ToBytes();
}

/// `read` takes bytes for a journal, `BytesOf` gives them back.
template <typename Read>
void CheckJournal(const std::string& title, std::string_view fields, Read read) {
  const auto journal = read(Sealed(title, fields));
  if (!journal) return;
  const std::string bytes = BytesOf(*journal);
  Expect(read(bytes) == journal, "what is written is read back");
  std::string damaged = bytes;
  damaged[bytes.size() / 2] = static_cast<char>(damaged[bytes.size() / 2] ^ 1);
  Expect(!read(damaged), "a damaged journal is none");
  Expect(!read(std::string_view(bytes).substr(0, bytes.size() - 1)), "half a journal is none");
}

}  // namespace
}  // namespace fieldpost::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace fieldpost;
  using namespace fieldpost::fuzz;
  const std::string_view fields = TextOf(data, size);
  CheckJournal(TitleOf(FilingJournal().ToBytes()), fields, FilingJournal::FromBytes);
  CheckJournal(TitleOf(BytesOf(SentDocuments())), fields, SentDocumentsFrom);
  return 0;
}
