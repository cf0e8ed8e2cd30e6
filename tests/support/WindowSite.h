// A fixture of the whole program with real message boxes and widgets.
#pragma once

#include "common/forms/MessageBoxPrompt.h"
#include "common/forms/WidgetMemory.h"
#include "common/forms/WidgetStatusDisplay.h"
#include "support/MessageBoxes.h"
#include "support/TestSite.h"

namespace fieldpost::test {

/// A site after its first start. `memory` stores the geometries of the windows.
struct WindowSite : AfterFirstStart<BasicSite<MessageBoxPrompt, WidgetStatusDisplay>> {
  WidgetMemory memory{home};
};

}  // namespace fieldpost::test
