// Thrown when the PPC database cannot be exported.
#pragma once

#include <stdexcept>

namespace fieldpost {

/// The PPC database could not be exported. `what()` is one line for the log.
class PpcError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace fieldpost
