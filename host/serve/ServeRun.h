// `warden serve`: the agent as a service. No console and no panel; host messages and trace
// records go to standard error (with syslog priorities under journald); the service manager is
// told when the agent is ready, how it is doing, that its loop is alive, and that it is stopping.
#pragma once

#include <string>
#include <vector>

namespace Host {

// `commandLine` is warden's arguments, starting with "serve". Returns the exit status: 0 after
// a stop on SIGTERM or SIGINT, 1 when the agent cannot be started, 2 for a wrong configuration.
int runServe(std::vector<std::string> const& commandLine);

}  // namespace Host
