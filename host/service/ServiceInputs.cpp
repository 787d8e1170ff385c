#include "host/service/ServiceInputs.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/http/ListenAddress.h"
#include "host/pins/PinDriver.h"
#include "host/run/ExitStatus.h"
#include "host/run/PinClaim.h"
#include "host/run/ServerDatabase.h"
#include "host/service/ServeConfig.h"

namespace Host {

std::optional<ServiceInputs> readServiceInputs(std::vector<std::string> const& commandLine,
                                               ServiceLog& log, int& status) {
  status = kExitWrongInput;
  ParsedOptions parsed = loadServiceOptions(commandLine);
  if (!parsed.error.empty()) {
    log.error(parsed.error);
    return std::nullopt;
  }
  ServiceInputs inputs{std::move(parsed.options), std::nullopt, std::nullopt};
  Options const& options = inputs.options;
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
    log.error(undrivablePinsText(error, OptionSpelling::configKey));
    status = exitStatusOf(error);
    return std::nullopt;
  }
  status = kExitDone;
  return inputs;
}

}  // namespace Host
