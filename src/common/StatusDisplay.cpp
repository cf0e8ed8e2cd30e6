#include "common/StatusDisplay.h"

namespace fieldpost {

void StatusDisplay::ShowStatusLine(std::string_view) {}
void StatusDisplay::SetStep(std::string_view) {}
void StatusDisplay::SetLabel(std::string_view) {}
void StatusDisplay::SetRange(std::size_t) {}
void StatusDisplay::SetPosition(std::size_t) {}
void StatusDisplay::ProcessEvents() {}
bool StatusDisplay::IsCancelled() const {
  return false;
}

void ThrowIfCancelled(const StatusDisplay& display) {
  if (display.IsCancelled()) throw Cancelled();
}

}  // namespace fieldpost
