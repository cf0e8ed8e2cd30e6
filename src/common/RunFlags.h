// Program-wide flags of a run.
#pragma once

namespace fieldpost {

/// Set when a run begins and read by its steps.
struct RunFlags {
  bool ShowMessages = false;      ///< A user is at the screen: message boxes may be shown.
  bool SendingPPC = false;        ///< PPC data are collected and mailed, not faultlogger data.
  bool SendAfterCollect = false;  ///< What was collected is mailed at once.
};

}  // namespace fieldpost
