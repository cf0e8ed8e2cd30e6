#include "common/UserPrompt.h"

namespace fieldpost {

void UserPrompt::ShowMessage(std::string_view, MessageIcon, std::string_view) {}
bool UserPrompt::AskYesNo(std::string_view, MessageIcon, std::string_view) {
  return false;
}
void UserPrompt::ShowOptions(OptionsPage) {}
void UserPrompt::SetBusyPointer(bool) {}

}  // namespace fieldpost
