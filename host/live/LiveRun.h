// `warden run`: the agent live, in real time. The script's commands run first; then commands
// typed on standard input (always without a script, on a terminal with one) until `quit`, the
// end of input or an interrupt, while flashing goes on and the live view shows the pins.
#pragma once

#include "host/run/Options.h"

namespace Host {

// Returns the process's exit status (ExitStatus.h): a script, plug-in, database URL, pin map or
// device that is wrong is refused with kExitWrongInput before any pin is touched.
int runLive(Options const& options);

}  // namespace Host
