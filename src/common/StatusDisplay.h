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

  /// Processes pending window events. Long loops call it after each item; the implementation keeps time, so
  /// that frequent calls cost nothing.
  virtual void ProcessEvents();

  /// Whether the user has cancelled the step. Long loops ask after each item and end as they would after a
  /// failure: what was begun is finished or rolled back, nothing is lost.
  [[nodiscard]] virtual bool IsCancelled() const;
};

/// Thrown by the inner loops of a step that the user cancelled. It is caught by the step itself, and is no
/// failure to report.
class Cancelled : public std::runtime_error {
 public:
  Cancelled() : std::runtime_error("ended by the user") {}
};

/// Throws Cancelled when the user has cancelled the step.
void ThrowIfCancelled(const StatusDisplay& display);

}  // namespace fieldpost
