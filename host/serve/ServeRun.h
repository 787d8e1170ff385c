// `warden serve`: the agent as a service. No console and no panel; host messages and trace
// records go to standard error (with syslog priorities under journald); the service manager is
// told when the agent is ready, how it is doing, that its loop is alive, and that it is stopping.
#pragma once

#include <string>
#include <vector>

namespace Host {

// `commandLine` is warden's arguments, starting with "serve". Returns the exit status
// (ExitStatus.h): done after a stop on SIGTERM or SIGINT, failed when the agent cannot be started
// or a line is held elsewhere, wrong input for a configuration, plug-in, pin map, database URL or
// device that only an edit mends.
int runServe(std::vector<std::string> const& commandLine);

}  // namespace Host
