// Message boxes as the user prompt.
#pragma once

#include <functional>
#include <utility>

#include "common/UserPrompt.h"

namespace fieldpost {

/// Shows every message box of the program. A box belongs to the open modal dialog, or else to the active
/// window.
class MessageBoxPrompt final : public UserPrompt {
 public:
  /// Sets the function that ShowOptions calls, because the dialog belongs to a module above this one. An
  /// empty function makes ShowOptions do nothing.
  void SetOptionsDialog(std::function<void(OptionsPage)> show) { showOptions_ = std::move(show); }

  void ShowMessage(std::string_view text, MessageIcon icon, std::string_view title) override;
  [[nodiscard]] bool AskYesNo(std::string_view text, MessageIcon icon, std::string_view title) override;
  void ShowOptions(OptionsPage page) override;
  void SetBusyPointer(bool busy) override;

 private:
  std::function<void(OptionsPage)> showOptions_;
};

}  // namespace fieldpost
