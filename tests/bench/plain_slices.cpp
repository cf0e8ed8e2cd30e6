// The least that cutting PPC data into documents could cost: the parser's own pass, with nothing asked of it
// but where elements begin and end, and the entries written as they stand. UTF-8 alone, nothing else is
// checked.
//
//   plain_slices FILE TARGET

#include <fcntl.h>
#include <libxml/parser.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t DocumentBytes = 1'300'000;

void Require(bool good, const char* what) {
  if (!good) throw std::runtime_error(what);
}

struct Slices {
  xmlParserCtxt* parser = nullptr;
  std::string window;
  std::size_t windowAt = 0;
  std::size_t entryFrom = 0;
  bool inEntry = false;
  std::string document;
  std::string target;
  int number = 0;

  [[nodiscard]] std::size_t Position() const { return static_cast<std::size_t>(xmlByteConsumed(parser)); }

  static bool IsEntry(const xmlChar* name) {
    return std::strcmp(reinterpret_cast<const char*>(name), "PPCentry") == 0;
  }

  static void OnStart(void* self, const xmlChar* name, const xmlChar*, const xmlChar*, int, const xmlChar**,
                      int, int, const xmlChar**) {
    if (!IsEntry(name)) return;
    auto* const slices = static_cast<Slices*>(self);
    slices->inEntry = true;
    slices->entryFrom = slices->windowAt + slices->window.rfind('<', slices->Position() - slices->windowAt);
  }

  static void OnEnd(void* self, const xmlChar* name, const xmlChar*, const xmlChar*) {
    if (!IsEntry(name)) return;
    auto* const slices = static_cast<Slices*>(self);
    slices->Take(slices->Position());
    slices->document += "\r\n";
    slices->inEntry = false;
    if (slices->document.size() > DocumentBytes) slices->Write();
  }

  void Take(std::size_t to) {
    document.append(window, entryFrom - windowAt, to - entryFrom);
    entryFrom = to;
  }

  void Forget() {
    const std::size_t to = Position();
    if (inEntry) Take(to);
    window.erase(0, to - windowAt);
    windowAt = to;
  }

  void Write() {
    const std::string path = target + "/" + std::to_string(++number) + ".xml";
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    Require(file >= 0, "cannot create");
    Require(write(file, document.data(), document.size()) == static_cast<ssize_t>(document.size()),
            "cannot write");
    close(file);
    document.clear();
  }
};

void Run(const char* path, const char* target) {
  Slices slices;
  slices.target = target;
  xmlSAXHandler handler{};
  handler.initialized = XML_SAX2_MAGIC;
  handler.startElementNs = &Slices::OnStart;
  handler.endElementNs = &Slices::OnEnd;
  slices.parser = xmlCreatePushParserCtxt(&handler, &slices, nullptr, 0, nullptr);
  Require(slices.parser != nullptr, "no parser");
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  Require(file >= 0, "cannot open");
  std::vector<char> block(65536);
  for (;;) {
    const ssize_t got = read(file, block.data(), block.size());
    Require(got >= 0, "cannot read");
    slices.window.append(block.data(), static_cast<std::size_t>(got));
    xmlParseChunk(slices.parser, block.data(), static_cast<int>(got), got == 0 ? 1 : 0);
    slices.Forget();
    if (got == 0) break;
  }
  Require(slices.parser->wellFormed == 1, "not well-formed");
  if (!slices.document.empty()) slices.Write();
  xmlFreeParserCtxt(slices.parser);
  close(file);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  try {
    Run(arguments[1], arguments[2]);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
