// What keeps PPC data from being worked through.
#pragma once

#include <stdexcept>

namespace fieldpost {

/// PPC data are not as they should be. `what()` is one plain line.
class PpcFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace fieldpost
