// The program's message boxes.
#pragma once

#include <functional>
#include <utility>

#include "common/UserPrompt.h"

namespace fieldpost {

/// Shows all message boxes of the program. The parent of a box is the open modal dialog, otherwise the active
/// window.
class MessageBoxPrompt final : public UserPrompt {
 public:
  /// Sets what ShowOptions does, because the options dialog belongs to a module above this one.
  void SetOptionsDialog(std::function<void(OptionsPage)> show) { showOptions_ = std::move(show); }

  void ShowMessage(std::string_view text, MessageIcon icon, std::string_view title) override;
  [[nodiscard]] bool AskYesNo(std::string_view text, MessageIcon icon, std::string_view title) override;
  void ShowOptions(OptionsPage page) override;
  void SetBusyPointer(bool busy) override;

 private:
  std::function<void(OptionsPage)> showOptions_;
};

}  // namespace fieldpost
