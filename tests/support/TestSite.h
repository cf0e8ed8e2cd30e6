// A whole program on a folder of its own, with a clock, a mail transport and a screen that the test sees.
#pragma once

#include "shell/FieldpostProgram.h"
#include "support/FaultlogXml.h"
#include "support/Site.h"

namespace fieldpost::test {

/// A site whose prompt and display record what they are told.
using TestSite = BasicSite<FieldpostProgram>;

using ReadySite = AfterFirstStart<TestSite>;

}  // namespace fieldpost::test
