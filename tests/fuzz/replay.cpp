// Runs a fuzz target on given inputs, without libFuzzer: each argument is a file or a folder of files.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/Fuzz.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesOf(const fs::path& given) {
  if (!fs::is_directory(given)) return {given};
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(given)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

void Replay(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(in), {}};
  std::printf("%s: %zu bytes\n", file.c_str(), bytes.size());
  std::fflush(stdout);
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int count, char** arguments) {
  std::size_t replayed = 0;
  for (int i = 1; i < count; ++i) {
    for (const fs::path& file : FilesOf(arguments[i])) {
      Replay(file);
      ++replayed;
    }
  }
  return replayed == 0 ? 1 : 0;
}
