// What a service reads and checks before it starts anything: the HTTP address, the database URL
// with its password file, the pin map, and every device the map names. A wrong one is logged with
// its place and stops the service with kExitWrongInput before a pin is touched, the agent started
// or a server asked, so that the supervisor does not restart it in a loop.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/drive/PinMap.h"
#include "host/run/Options.h"
#include "host/serve/ServiceLog.h"
#include "platform/statedb/redis/Endpoint.h"

namespace Host {

struct ServiceInputs {
  std::optional<Statedb::Redis::Endpoint> endpoint;  // with --db
  std::optional<Drive::PinMap> pinMap;               // with --pins
};

// The inputs of `options`, read from `commandLine` and its configuration file. Nothing when an
// input is refused, with `status` set to the exit status that says why; a value of the file is
// located at its line. With pins-partial the devices are left for the claim, which drives those
// that are there.
std::optional<ServiceInputs> checkServiceInputs(std::vector<std::string> const& commandLine,
                                                Options const& options, ServiceLog& log,
                                                int& status);

}  // namespace Host
