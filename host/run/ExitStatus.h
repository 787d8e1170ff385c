// warden's exit statuses, read by a supervisor: the unit restarts warden on a failure
// (Restart=on-failure) but not on a wrong input (RestartPreventExitStatus=2), which would only
// fail again, in a loop, until someone edits it.
#pragma once

#include "host/drive/PinDriver.h"

namespace Host {

enum ExitStatus : int {
  // Stopped on request (SIGTERM, SIGINT, `quit`), or every expectation of `check` held.
  kExitDone = 0,
  // A failure that a later start may not meet: a GPIO line held by another program, an agent
  // that could not be created or mounted; for `check`, an expectation that failed.
  kExitFailed = 1,
  // A wrong input, reported with its place before any pin is touched: the command line, the
  // configuration file, the pin map, the database URL or its password file, the agent plug-in,
  // a device that the map names and that is not there.
  kExitWrongInput = 2,
};

// A refused claim of the pins: a wrong input unless every pin at fault is merely held for now.
inline ExitStatus exitStatusOf(Drive::DriveError const& error) noexcept {
  return error.transient() ? kExitFailed : kExitWrongInput;
}

}  // namespace Host
