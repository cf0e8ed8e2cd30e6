// What the call tracer is asked to do.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "crash/tracer/ChangingCalls.h"

namespace fieldpost::tracer {

struct Options {
  std::string record;        ///< file for the record; empty for none
  std::string count;         ///< file for the number of the last call; empty for none
  bool attempts = false;     ///< the record has the calls that failed too, and the faults of each
  bool socketMarks = false;  ///< the record has what goes through sockets too
  std::uint64_t kill = 0;    ///< number of the call before which everything is killed; 0 for none
  std::optional<Fault> fault;
  std::uint64_t at = 0;      ///< number of the first call that fails
  bool fromThenOn = false;   ///< all after it fail too, where they can have that fault
  char** program = nullptr;  ///< its name and arguments, and a null pointer

  /// The number of the call that the run is about; 0 when it is about all.
  [[nodiscard]] std::uint64_t Goal() const { return kill != 0 ? kill : at; }
};

/// Reads the command line; empty when it is not one.
std::optional<Options> ReadOptions(int count, char** arguments);

}  // namespace fieldpost::tracer
