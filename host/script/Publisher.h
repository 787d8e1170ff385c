// The host's part as the other agents: it publishes GPIO LED mappings and LED configuration
// into the in-memory database the way their owners do, through the same applier that a database
// server's mirror uses (platform/inputs), so that a script means the same on either.
#pragma once

#include <string>

#include "host/script/Command.h"
#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/model/LedSystemConfigDir.h"

namespace Host {

// `set mapping`: a new mapping is inserted fully built; a published one is changed in place, its
// named pin sets first (in colour order) and `ready` last. `replace mapping`: a new entity built
// from the command alone takes the old one's place in one step.
void publishMapping(Hardware::Gpio::GpioLedSystemConfigDir& mappings,
                    MappingCommand const& command);

// `set led`: a new configuration is inserted holding the setting, a published one gets the
// setting written. `replace led`: a new configuration takes the old one's place in one step.
void publishLed(Hardware::Led::LedSystemConfigDir& leds, LedCommand const& command);

// Both return false when there was nothing of that name to remove.
bool withdrawMapping(Hardware::Gpio::GpioLedSystemConfigDir& mappings, std::string const& led);
bool withdrawLed(Hardware::Led::LedSystemConfigDir& leds, std::string const& led);

}  // namespace Host
