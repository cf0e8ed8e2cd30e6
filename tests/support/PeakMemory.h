// The most memory that this program has had in use so far.
#pragma once

#ifdef FIELDPOST_SANITIZE
#include <algorithm>
#include <cstddef>

// Of AddressSanitizer's own interface, whose header not every compiler comes with.
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

/// AddressSanitizer keeps what was freed for a while, to find its later use; the system counts that as in
/// use. So what is asked for and given back is counted here. Every test program has one thread that
/// allocates.
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

inline long PeakKilobytes() {
  return LiveMemory::Peak() / 1024;
}

#else

inline long PeakKilobytes() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

#endif

}  // namespace fieldpost::test
