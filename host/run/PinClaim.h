// The pin driver of a run, claimed from the options' map: the one place where a map whose pins
// cannot be driven becomes a message and an exit status, for the live run and the services alike.
#pragma once

#include <memory>
#include <string>

#include "host/pins/PinDriver.h"
#include "host/pins/PinMap.h"
#include "host/run/Options.h"
#include "platform/zel/ActivityManager.h"
#include "platform/zel/Dir.h"

namespace Host {

// How a refusal names the option that would drive the pins that are there: as typed on the
// command line, or as a key of a service's configuration file.
enum class OptionSpelling { commandLine, configKey };

struct PinClaim {
  std::unique_ptr<Drive::PinDriver> driver;  // null when the pins were refused
  int status = 0;                            // the exit status of a refusal (ExitStatus.h)
  std::string refusal;                       // what was refused, to be logged by the run
};

// Claims the pins `map` names on `pins`, written from `loop`, driving those that are there when
// the options ask for pins-partial; `log` hears of pins that fail later.
PinClaim claimPins(Drive::PinMap map, Zel::Dir& pins, Zel::ActivityManager& loop,
                   Options const& options, Drive::PinDriver::Log log, OptionSpelling spelling);

// As above, reading the map from the options first; a map that does not read is refused too.
PinClaim claimPins(Zel::Dir& pins, Zel::ActivityManager& loop, Options const& options,
                   Drive::PinDriver::Log log, OptionSpelling spelling);

// The refusal of pins that cannot be driven.
std::string undrivablePinsText(Drive::DriveError const& error, OptionSpelling spelling);

}  // namespace Host
