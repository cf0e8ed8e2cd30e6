// The time of day and elapsed time.
#pragma once

#include <chrono>
#include <cstdint>

#include "common/DateText.h"

namespace fieldpost {

/// A clock. Tests use one that they set.
class Clock {
 public:
  Clock() = default;
  Clock(const Clock&) = delete;
  Clock& operator=(const Clock&) = delete;
  virtual ~Clock() = default;

  /// Returns the current local date and time.
  [[nodiscard]] virtual LocalTime Now() const = 0;

  /// Returns a time that never goes back, for timeouts.
  [[nodiscard]] virtual std::chrono::steady_clock::time_point Steady() const = 0;
};

/// Converts nanoseconds since 1970, UTC, to local date and time by the machine's time zone.
LocalTime LocalTimeOf(std::int64_t nanoseconds);

/// The machine's clock and time zone.
class SystemClock final : public Clock {
 public:
  [[nodiscard]] LocalTime Now() const override;
  [[nodiscard]] std::chrono::steady_clock::time_point Steady() const override;
};

}  // namespace fieldpost
