// How a long step shows where it is.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string_view>

namespace fieldpost {

/// Status line, label and progress bar of the window that drives a step. The windows implement it; as it
/// stands it is the unattended run's: nothing is shown.
class StatusDisplay {
 public:
  StatusDisplay() = default;
  StatusDisplay(const StatusDisplay&) = delete;
  StatusDisplay& operator=(const StatusDisplay&) = delete;
  virtual ~StatusDisplay() = default;

  /// Adds a line (or several, separated by CR LF) to the list of what happened.
  virtual void ShowStatusLine(std::string_view text);

  /// Sets the caption that says what is being done.
  virtual void SetStep(std::string_view text);

  /// Sets the label beside the bar.
  virtual void SetLabel(std::string_view text);

  /// Sets how many steps the bar has.
  virtual void SetRange(std::size_t steps);

  /// Sets how many steps are done.
  virtual void SetPosition(std::size_t done);

  /// Lets pending window events run. Long loops call it after each item; the implementation keeps time, so
  /// that calling it often costs nothing.
  virtual void LetEventsRun();

  /// Whether the person at the screen wants the step to end. Long loops ask after each item, and end as they
  /// would after a failure: what was begun is finished or taken back, nothing is lost.
  [[nodiscard]] virtual bool StopRequested() const;
};

/// A step ended because the person at the screen wanted it to; no failure to be told of. It leaves a step's
/// inner loops as an exception, and goes no further than the step itself.
class StepStopped : public std::runtime_error {
 public:
  StepStopped() : std::runtime_error("ended by the user") {}
};

/// Throws StepStopped when the person at the screen wants the step to end.
void ThrowIfStopRequested(const StatusDisplay& display);

}  // namespace fieldpost
