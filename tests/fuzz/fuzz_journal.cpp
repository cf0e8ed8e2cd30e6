// The journals' form: an input is the fields behind the title, to which the right check sum is put.
#include <string>

#include "common/ContentHash.h"
#include "faultlog/FilingJournal.h"
#include "fuzz/Fuzz.h"

namespace fieldpost::fuzz {
namespace {

/// The line that every journal begins with.
std::string Title() {
  const std::string empty = FilingJournal().ToBytes();
  return empty.substr(0, empty.find('\n') + 1);
}

void CheckAccepted(const FilingJournal& journal) {
  const std::string bytes = journal.ToBytes();
  const std::optional<FilingJournal> again = FilingJournal::FromBytes(bytes);
  Expect(again == journal, "what is written is read back");
  std::string damaged = bytes;
  damaged[bytes.size() / 2] = static_cast<char>(damaged[bytes.size() / 2] ^ 1);
  Expect(!FilingJournal::FromBytes(damaged), "a damaged journal is none");
  Expect(!FilingJournal::FromBytes(std::string_view(bytes).substr(0, bytes.size() - 1)),
         "half a journal is none");
}

}  // namespace
}  // namespace fieldpost::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace fieldpost;
  using namespace fieldpost::fuzz;
  const std::string_view input = TextOf(data, size);
  Expect(!FilingJournal::FromBytes(input), "without its check sum nothing is a journal");
  std::string bytes = Title();
  bytes += input;
  bytes += ToHex(HashContent(bytes));
  if (const std::optional<FilingJournal> journal = FilingJournal::FromBytes(bytes)) CheckAccepted(*journal);
  return 0;
}
