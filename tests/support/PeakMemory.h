// The peak memory use of the test program.
#pragma once

#ifdef FIELDPOST_SANITIZE
#include <algorithm>
#include <cstddef>

// From AddressSanitizer's interface, whose header some compilers lack.
extern "C" {
int __sanitizer_install_malloc_and_free_hooks(void (*onMalloc)(const volatile void*, std::size_t),
                                              void (*onFree)(const volatile void*));
std::size_t __sanitizer_get_allocated_size(const volatile void* block);
}
#else
#include <sys/resource.h>
#endif

namespace fieldpost::test {

#ifdef FIELDPOST_SANITIZE

/// Counts allocated bytes, because AddressSanitizer keeps freed memory for a while, which the system counts
/// as used. Only one thread of a test program allocates.
class LiveMemory {
 public:
  LiveMemory() { __sanitizer_install_malloc_and_free_hooks(OnMalloc, OnFree); }

  [[nodiscard]] static long Peak() { return Counts().peak; }

 private:
  struct Bytes {
    long live = 0;
    long peak = 0;
  };
  static Bytes& Counts() {
    static Bytes counts;
    return counts;
  }
  static void OnMalloc(const volatile void*, std::size_t size) {
    Counts().live += static_cast<long>(size);
    Counts().peak = std::max(Counts().peak, Counts().live);
  }
  static void OnFree(const volatile void* block) {
    if (block != nullptr) Counts().live -= static_cast<long>(__sanitizer_get_allocated_size(block));
  }
};
inline const LiveMemory CountedFromTheStart;

/// Returns the peak of the allocated memory in KiB.
inline long PeakKilobytes() {
  return LiveMemory::Peak() / 1024;
}

#else

/// Returns the peak memory use of this process in KiB.
inline long PeakKilobytes() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

#endif

}  // namespace fieldpost::test
