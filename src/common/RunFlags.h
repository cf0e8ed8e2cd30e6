// What kind of run this is.
#pragma once

namespace fieldpost {

/// The flags that one run's driver sets and the other parts only read.
struct RunFlags {
  bool ShowMessages = false;      ///< Somebody is at the screen: message boxes may be shown.
  bool SendingPPC = false;        ///< The data in hand are PPC data, not faultlogger data.
  bool SendAfterCollect = false;  ///< The scan mails what it queued.
};

}  // namespace fieldpost
