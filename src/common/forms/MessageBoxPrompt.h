// The program's message boxes.
#pragma once

#include <functional>
#include <utility>

#include "common/UserPrompt.h"

namespace fieldpost {

/// The only place that shows message boxes. A box stands over the dialog that is open when it comes
/// up, else over the window that is active.
class MessageBoxPrompt final : public UserPrompt {
 public:
  /// Hands over what ShowOptions does: the dialog belongs to a room above this one.
  void SetOptionsDialog(std::function<void(OptionsPage)> show) { showOptions_ = std::move(show); }

  void ShowMessage(std::string_view text, MessageIcon icon, std::string_view title) override;
  [[nodiscard]] bool AskYesNo(std::string_view text, MessageIcon icon, std::string_view title) override;
  void ShowOptions(OptionsPage page) override;
  void SetBusyPointer(bool busy) override;

 private:
  std::function<void(OptionsPage)> showOptions_;
};

}  // namespace fieldpost
