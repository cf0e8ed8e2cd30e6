// What a step of a run shows the user.
#pragma once

#include <string_view>

#include "common/RunFlags.h"
#include "common/StatusDisplay.h"
#include "common/UserPrompt.h"

namespace fieldpost {

/// The message boxes and the status display of a run. Refers to objects that outlive the steps.
struct Screen {
  UserPrompt& prompt;
  StatusDisplay& display;
  const RunFlags& flags;

  /// Shows a message box and waits for it when the flag `ShowMessages` is set; does nothing otherwise.
  void ShowMessage(std::string_view text, MessageIcon icon, std::string_view title) const {
    if (flags.ShowMessages) prompt.ShowMessage(text, icon, title);
  }
};

}  // namespace fieldpost
