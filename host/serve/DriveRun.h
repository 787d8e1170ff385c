// `warden drive`: the pin driver as a process of its own, for an agent that runs elsewhere and
// writes its pins to the database server's pin table. No agent runs here. It keeps the service's
// conventions: logs to standard error (with priorities under journald), READY=1 once the pins
// are requested with the table's values, STATUS= lines, watchdog pings, STOPPING=1 and the map's
// stop pattern on SIGTERM or SIGINT, and a lamp test on SIGUSR2.
#pragma once

#include "host/run/Options.h"

namespace Host {

// Returns the exit status: 0 after a stop on SIGTERM or SIGINT, 1 when the pins cannot be
// driven, 2 for a wrong map or database URL.
int runDrive(Options const& options);

}  // namespace Host
