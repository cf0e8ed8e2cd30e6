// Thrown for XML that cannot be read.
#pragma once

#include <stdexcept>

namespace fieldpost {

/// An XML text is malformed, exceeds a limit, or is in an encoding that cannot be converted. `what()` is one
/// line for the log.
class XmlError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace fieldpost
