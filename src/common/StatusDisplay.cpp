#include "common/StatusDisplay.h"

namespace fieldpost {

void StatusDisplay::ShowStatusLine(std::string_view) {}
void StatusDisplay::SetStep(std::string_view) {}
void StatusDisplay::SetLabel(std::string_view) {}
void StatusDisplay::SetRange(std::size_t) {}
void StatusDisplay::SetPosition(std::size_t) {}
void StatusDisplay::LetEventsRun() {}
bool StatusDisplay::StopRequested() const {
  return false;
}

void ThrowIfStopRequested(const StatusDisplay& display) {
  if (display.StopRequested()) throw StepStopped();
}

}  // namespace fieldpost
