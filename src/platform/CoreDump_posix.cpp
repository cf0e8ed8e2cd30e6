#include <sys/resource.h>

#include "platform/CoreDump.h"

namespace fieldpost {

void ForbidCoreDumps() {
  constexpr rlimit none{.rlim_cur = 0, .rlim_max = 0};
  ::setrlimit(RLIMIT_CORE, &none);
}

}  // namespace fieldpost
