// The clock.
#pragma once

#include <chrono>
#include <cstdint>

#include "common/DateText.h"

namespace fieldpost {

/// What time it is. Tests pass in a clock that they set.
class Clock {
 public:
  Clock() = default;
  Clock(const Clock&) = delete;
  Clock& operator=(const Clock&) = delete;
  virtual ~Clock() = default;

  /// The local date and time, read anew at each call.
  [[nodiscard]] virtual LocalTime Now() const = 0;

  /// Time that only runs forward, for time-outs.
  [[nodiscard]] virtual std::chrono::steady_clock::time_point Steady() const = 0;
};

/// The local date and time of a moment, by the machine's time zone. Given in nanoseconds since 1970, UTC, as
/// file stamps have them.
LocalTime LocalTimeOf(std::int64_t nanoseconds);

/// The machine's clock and time zone.
class SystemClock final : public Clock {
 public:
  [[nodiscard]] LocalTime Now() const override;
  [[nodiscard]] std::chrono::steady_clock::time_point Steady() const override;
};

}  // namespace fieldpost
