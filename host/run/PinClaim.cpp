#include "host/run/PinClaim.h"

#include "host/run/ExitStatus.h"

namespace Host {

PinClaim claimPins(Drive::PinMap map, Zel::Dir& pins, Zel::ActivityManager& loop,
                   Options const& options, Drive::PinDriver::Log log, OptionSpelling spelling) {
  PinClaim claim;
  try {
    Drive::DriverOptions driverOptions;
    driverOptions.partial = options.pinsPartial;
    claim.driver = std::make_unique<Drive::PinDriver>(std::move(map), pins, loop, std::move(log),
                                                      driverOptions);
  } catch (Drive::DriveError const& error) {
    claim.status = exitStatusOf(error);
    claim.refusal = undrivablePinsText(error, spelling);
  }
  return claim;
}

PinClaim claimPins(Zel::Dir& pins, Zel::ActivityManager& loop, Options const& options,
                   Drive::PinDriver::Log log, OptionSpelling spelling) {
  try {
    return claimPins(Drive::loadPinMap(options.pinMap), pins, loop, options, std::move(log),
                     spelling);
  } catch (Drive::PinMapError const& error) {
    return PinClaim{nullptr, kExitWrongInput, error.what()};
  }
}

std::string undrivablePinsText(Drive::DriveError const& error, OptionSpelling spelling) {
  // On a terminal the pins at fault start on a line of their own; a log keeps one line.
  return spelling == OptionSpelling::commandLine
             ? std::string("pins that cannot be driven (--pins-partial drives the rest):\n") +
                   error.what()
             : std::string("pins that cannot be driven (pins-partial drives the rest): ") +
                   error.what();
}

}  // namespace Host
