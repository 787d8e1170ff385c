// `warden drive`: the pin driver as a process of its own, for an agent that runs elsewhere and
// writes its pins to the database server's pin table. No agent runs here. It keeps the service's
// conventions: logs to standard error (with priorities under journald), READY=1 once the pins
// are requested with the table's values, STATUS= lines, watchdog pings, STOPPING=1 and the map's
// stop pattern on SIGTERM or SIGINT, a lamp test on SIGUSR2, and --config FILE with SIGHUP as
// `warden serve` has them.
#pragma once

#include <string>
#include <vector>

namespace Host {

// `commandLine` is warden's arguments, starting with "drive". Returns the exit status
// (ExitStatus.h): done after a stop on SIGTERM or SIGINT, failed when a line is held elsewhere,
// wrong input for a configuration, pin map, database URL or device that only an edit mends.
int runDrive(std::vector<std::string> const& commandLine);

}  // namespace Host
