// What a step costs, however busy the machine is.
#pragma once

#include <ctime>

namespace fieldpost::test {

/// Seconds of processor time that this program has taken so far.
inline double ProcessorSeconds() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

}  // namespace fieldpost::test
