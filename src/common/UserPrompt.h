// Message boxes and the options dialog.
#pragma once

#include <string_view>

namespace fieldpost {

/// The icon of a message box.
enum class MessageIcon { None, Information, Exclamation, Critical };

/// The pages of the options dialog, by their index.
enum class OptionsPage { Folders = 0, Sending = 1, Settings = 2, MailServer = 3, Partner = 4 };

/// Shows message boxes and the options dialog. The windows implement it; this base class is the prompt of an
/// unattended run, which shows nothing.
class UserPrompt {
 public:
  UserPrompt() = default;
  UserPrompt(const UserPrompt&) = delete;
  UserPrompt& operator=(const UserPrompt&) = delete;
  virtual ~UserPrompt() = default;

  /// Shows a message box with an OK button and waits until it is closed. An empty title stands for the
  /// program's name.
  virtual void ShowMessage(std::string_view text, MessageIcon icon, std::string_view title);

  /// Asks a question with the buttons Yes and No; No is the default button. Whether the answer was Yes;
  /// closing the box means No.
  [[nodiscard]] virtual bool AskYesNo(std::string_view text, MessageIcon icon, std::string_view title);

  /// Shows the options dialog at a page and waits until it is closed.
  virtual void ShowOptions(OptionsPage page);

  /// Shows the hourglass pointer, or restores the normal one.
  virtual void SetBusyPointer(bool busy);
};

}  // namespace fieldpost
