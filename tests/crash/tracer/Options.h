// The command line of the call tracer.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "crash/tracer/ChangingCalls.h"

namespace fieldpost::tracer {

struct Options {
  std::string record;        ///< file for the record; empty for none
  std::string count;         ///< file for the number of the last call; empty for none
  bool attempts = false;     ///< also record failed calls, and the faults that each call can have
  bool socketMarks = false;  ///< also record what goes through sockets
  std::uint64_t kill = 0;    ///< number of the call before which everything is killed; 0 for none
  std::optional<Fault> fault;
  std::uint64_t at = 0;      ///< number of the first call that fails
  bool fromThenOn = false;   ///< all later calls that can have that fault fail, too
  char** program = nullptr;  ///< its name and arguments, and a null pointer

  /// The number of the call that is killed or fails first; 0 when none is.
  [[nodiscard]] std::uint64_t Goal() const { return kill != 0 ? kill : at; }
};

/// Reads the command line. Returns nothing when it is malformed.
std::optional<Options> ReadOptions(int count, char** arguments);

}  // namespace fieldpost::tracer
