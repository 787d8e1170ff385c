// What a service reads and checks before it starts anything: the HTTP address, the database URL
// with its password file, the pin map, and every device the map names. A wrong one is logged with
// its place and stops the service with kExitWrongInput before a pin is touched, the agent started
// or a server asked, so that the supervisor does not restart it in a loop.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/pins/PinMap.h"
#include "host/run/Options.h"
#include "host/service/ServiceLog.h"
#include "platform/redis/Endpoint.h"

namespace Host {

struct ServiceInputs {
  Options options;
  std::optional<Statedb::Redis::Endpoint> endpoint;  // with --db
  std::optional<Drive::PinMap> pinMap;               // with --pins
};

// The options of a service, read from `commandLine` and its configuration file, and the inputs
// they name. Nothing when an option or an input is refused, with `status` set to the exit status
// that says why; a value of the file is located at its line. With pins-partial the devices are
// left for the claim, which drives those that are there.
std::optional<ServiceInputs> readServiceInputs(std::vector<std::string> const& commandLine,
                                               ServiceLog& log, int& status);

}  // namespace Host
