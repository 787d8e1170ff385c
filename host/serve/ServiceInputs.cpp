#include "host/serve/ServiceInputs.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/drive/PinDriver.h"
#include "host/http/ListenAddress.h"
#include "host/run/ExitStatus.h"
#include "host/run/ServerDatabase.h"
#include "host/serve/ServeConfig.h"

namespace Host {

std::optional<ServiceInputs> checkServiceInputs(std::vector<std::string> const& commandLine,
                                                Options const& options, ServiceLog& log,
                                                int& status) {
  ServiceInputs inputs;
  status = kExitWrongInput;
  if (std::string const error =
          Http::listenAddressError(options.httpAddress, options.httpAllowRemote);
      !error.empty()) {
    log.error(optionPlace(commandLine, "http") + error);
    return std::nullopt;
  }
  if (!options.database.url.empty()) {
    std::string error;
    inputs.endpoint = endpointFor(options.database, error);
    if (!inputs.endpoint) {
      log.error(optionPlace(commandLine, "db") + "database: " + error);
      return std::nullopt;
    }
  }
  if (options.pinMap.empty()) return inputs;
  if (::access(options.pinMap.c_str(), R_OK) != 0) {
    log.error(optionPlace(commandLine, "pins") + "cannot read the pin map " + options.pinMap +
              ": " + std::strerror(errno));
    return std::nullopt;
  }
  try {
    inputs.pinMap = Drive::loadPinMap(options.pinMap);
    if (!options.pinsPartial) Drive::PinDriver::check(*inputs.pinMap, {});
  } catch (Drive::PinMapError const& error) {
    log.error(error.what());
    return std::nullopt;
  } catch (Drive::DriveError const& error) {
    log.error(std::string("pins that cannot be driven (pins-partial drives the rest): ") +
              error.what());
    status = exitStatusOf(error);
    return std::nullopt;
  }
  status = kExitDone;
  return inputs;
}

}  // namespace Host
