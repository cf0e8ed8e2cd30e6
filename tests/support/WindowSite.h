// A fixture of the whole program with real message boxes and widgets.
#pragma once

#include "common/forms/MessageBoxPrompt.h"
#include "common/forms/WidgetMemory.h"
#include "common/forms/WidgetStatusDisplay.h"
#include "support/MessageBoxes.h"
#include "support/TestSite.h"

namespace fieldpost::test {

/// A site as it stands after its first start. What the windows keep is in `memory`.
struct WindowSite : AfterFirstStart<BasicSite<FieldpostProgram, MessageBoxPrompt, WidgetStatusDisplay>> {
  WidgetMemory memory{home};
};

}  // namespace fieldpost::test
