// `warden check`: runs each script in virtual time, with a fresh database and agent, and tells
// which held. Prints a line per script (failures located by FILE:LINE) and finally
// "N passed, N failed".
#pragma once

#include <ostream>

#include "host/run/Options.h"

namespace Host {

// Returns the process's exit status: 0 when every script passed.
int runCheck(Options const& options, std::ostream& out, std::ostream& traceOut);

}  // namespace Host
