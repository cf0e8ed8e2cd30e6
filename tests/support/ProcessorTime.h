// Processor time, which does not depend on the load of the machine.
#pragma once

#include <ctime>

namespace fieldpost::test {

/// Returns the processor time that this process has used, in seconds.
inline double ProcessorSeconds() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

}  // namespace fieldpost::test
