// How the program speaks to the person at the screen.
#pragma once

#include <string_view>

namespace fieldpost {

/// The icon of a message box.
enum class MessageIcon { None, Information, Exclamation, Critical };

/// Pages of the options dialog, by their place.
enum class OptionsPage { Folders = 0, Sending = 1, Settings = 2, MailServer = 3, Partner = 4 };

/// Message boxes and the options dialog. The windows implement it; as it stands it is the unattended run's:
/// nobody is there, nothing is shown.
class UserPrompt {
 public:
  UserPrompt() = default;
  UserPrompt(const UserPrompt&) = delete;
  UserPrompt& operator=(const UserPrompt&) = delete;
  virtual ~UserPrompt() = default;

  /// Shows a message box with an OK button and waits for it. An empty title means the program's own.
  virtual void ShowMessage(std::string_view text, MessageIcon icon, std::string_view title);

  /// Asks a question with the buttons Yes and No, of which No is the one that the Enter key presses. Whether
  /// the answer was Yes; closing the box means No.
  [[nodiscard]] virtual bool AskYesNo(std::string_view text, MessageIcon icon, std::string_view title);

  /// Shows the options dialog on a page.
  virtual void ShowOptions(OptionsPage page);

  /// Switches the mouse pointer between the hourglass and the normal one.
  virtual void SetBusyPointer(bool busy);
};

}  // namespace fieldpost
