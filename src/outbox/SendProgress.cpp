#include "outbox/SendProgress.h"

#include <fmt/format.h>

#include <algorithm>

namespace fieldpost {

void ShowSendProgress(StatusDisplay& display, std::string_view step, std::size_t done, std::size_t count) {
  if (done == 0) display.SetRange(count);
  display.SetStep(step);
  display.SetLabel(fmt::format("{}%", done * 100 / std::max<std::size_t>(count, 1)));
  display.SetPosition(done);
}

}  // namespace fieldpost
