// How the steps of a send show their progress.
#pragma once

#include <cstddef>
#include <string_view>

#include "common/StatusDisplay.h"

namespace fieldpost {

/// Shows the caption of a step, and `done` of `count` in the bar and as a percentage in the label. Sets the
/// range of the bar when `done` is 0.
void ShowSendProgress(StatusDisplay& display, std::string_view step, std::size_t done, std::size_t count);

}  // namespace fieldpost
