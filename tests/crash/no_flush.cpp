// Loaded before a program, makes each of its flushes succeed and do nothing. When the program ends, writes
// their number to the file that NO_FLUSH_COUNT names.
#include <atomic>
#include <cstdlib>
#include <fstream>

namespace {

std::atomic<int> skipped{0};

/// Writes the number of skipped flushes when it is destroyed, at the end of the program.
struct Count {
  Count() = default;
  Count(const Count&) = delete;
  Count& operator=(const Count&) = delete;
  ~Count() {
    if (const char* const path = std::getenv("NO_FLUSH_COUNT")) std::ofstream(path) << skipped << '\n';
  }
};

const Count count;

int Skip() {
  ++skipped;
  return 0;
}

}  // namespace

extern "C" {

int fsync(int) {
  return Skip();
}

int fdatasync(int) {
  return Skip();
}

int syncfs(int) {
  return Skip();
}

void sync() {
  Skip();
}
}
