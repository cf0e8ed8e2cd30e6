#include "common/UserPrompt.h"

#include <gtest/gtest.h>

#include "common/StatusDisplay.h"

namespace fieldpost {
namespace {

TEST(UserPrompt, OfAnUnattendedRunAnswersNo) {
  UserPrompt prompt;
  prompt.ShowMessage("text", MessageIcon::Critical, "title");
  prompt.ShowOptions(OptionsPage::Folders);
  prompt.SetBusyPointer(true);
  EXPECT_FALSE(prompt.AskYesNo("Really?", MessageIcon::Exclamation, "title"));
}

TEST(StatusDisplay, OfAnUnattendedRunIsNeverCancelled) {
  StatusDisplay display;
  display.ShowStatusLine("line");
  display.SetStep("step");
  display.SetLabel("label");
  display.SetRange(2);
  display.SetPosition(1);
  display.ProcessEvents();
  EXPECT_FALSE(display.IsCancelled());
  EXPECT_NO_THROW(ThrowIfCancelled(display));
}

}  // namespace
}  // namespace fieldpost
