// An interactive send in its windows.
#pragma once

#include "common/forms/WidgetMemory.h"
#include "common/forms/WidgetStatusDisplay.h"
#include "shell/FieldpostProgram.h"

class QWidget;

namespace fieldpost {

/// Shows the send dialog over `parent`, does the whole send in it, and returns when the dialog is closed. The
/// caller has checked the mail settings. `display` must be the display of `program`.
void ShowSendDialog(FieldpostProgram& program, WidgetStatusDisplay& display, WidgetMemory& memory,
                    QWidget* parent = nullptr);

}  // namespace fieldpost
