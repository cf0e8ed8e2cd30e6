// The display of the progress of a long step.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string_view>

namespace fieldpost {

/// The status list, label and progress bar of the window that runs a step. The windows implement it; this
/// base class is the display of an unattended run, which shows nothing.
class StatusDisplay {
 public:
  StatusDisplay() = default;
  StatusDisplay(const StatusDisplay&) = delete;
  StatusDisplay& operator=(const StatusDisplay&) = delete;
  virtual ~StatusDisplay() = default;

  /// Adds a line, or several separated by CR LF, to the status list.
  virtual void ShowStatusLine(std::string_view text);

  /// Sets the caption that names the step.
  virtual void SetStep(std::string_view text);

  /// Sets the label beside the progress bar.
  virtual void SetLabel(std::string_view text);

  /// Sets the number of steps of the progress bar, and its position to 0.
  virtual void SetRange(std::size_t steps);

  /// Sets the position of the progress bar: the number of steps that are done.
  virtual void SetPosition(std::size_t done);

  /// Processes pending window events. Long loops call this after each item; the implementation limits how
  /// often events are processed, so that frequent calls are cheap.
  virtual void ProcessEvents();

  /// Whether the user has cancelled the step. Long loops check this after each item and then end as after a
  /// failure: what was begun is finished or rolled back, and nothing is lost.
  [[nodiscard]] virtual bool IsCancelled() const;
};

/// Thrown by the inner loops of a step that the user has cancelled. The step itself catches it; it is not
/// reported as a failure.
class Cancelled : public std::runtime_error {
 public:
  Cancelled() : std::runtime_error("cancelled by the user") {}
};

/// Throws Cancelled when the user has cancelled the step.
void ThrowIfCancelled(const StatusDisplay& display);

}  // namespace fieldpost
