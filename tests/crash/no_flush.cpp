// Loaded before a program, has it flush nothing: each call for it succeeds and does nothing. When the program
// ends, how many there were is written to the file that NO_FLUSH_COUNT names.
#include <atomic>
#include <cstdlib>
#include <fstream>

namespace {

std::atomic<int> leftOut{0};

/// Destroyed when the program ends.
struct Count {
  Count() = default;
  Count(const Count&) = delete;
  Count& operator=(const Count&) = delete;
  ~Count() {
    if (const char* const path = std::getenv("NO_FLUSH_COUNT")) std::ofstream(path) << leftOut << '\n';
  }
};

const Count count;

int LeaveOut() {
  ++leftOut;
  return 0;
}

}  // namespace

extern "C" {

int fsync(int) {
  return LeaveOut();
}

int fdatasync(int) {
  return LeaveOut();
}

int syncfs(int) {
  return LeaveOut();
}

void sync() {
  LeaveOut();
}
}
