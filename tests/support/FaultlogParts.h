// The parts of the program that file faultlogger data, with those below them.
#pragma once

#include <vector>

#include "faultlog/LatestScan.h"
#include "support/FaultlogXml.h"
#include "support/OutboxParts.h"

namespace fieldpost::test {

/// Wired as FieldpostProgram wires them, under the same names.
struct FaultlogParts : OutboxParts {
  using OutboxParts::OutboxParts;

  LatestScan scan{run, flags, lists, {tree, check, sendLoop, ports.prompt}};
};

using FaultlogSite = BasicSite<FaultlogParts>;
using ReadyFaultlogSite = AfterFirstStart<FaultlogSite>;

}  // namespace fieldpost::test
