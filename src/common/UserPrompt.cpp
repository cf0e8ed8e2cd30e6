#include "common/UserPrompt.h"

namespace fieldpost {

void UserPrompt::ShowMessage(std::string_view, MessageIcon, std::string_view) {}
void UserPrompt::ShowOptions(OptionsPage) {}
void UserPrompt::SetBusyPointer(bool) {}

}  // namespace fieldpost
