// The flags by which a driver tells the steps of a run what kind of run it is.
#pragma once

namespace fieldpost {

/// Program-wide flags, set by the driver of a run and read by its steps.
struct RunFlags {
  bool ShowMessages = false;      ///< A user is at the screen: message boxes may be shown.
  bool SendingPPC = false;        ///< PPC data are collected and mailed, not faultlogger data.
  bool SendAfterCollect = false;  ///< What was collected is mailed at once.
};

}  // namespace fieldpost
