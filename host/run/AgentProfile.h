// What the host knows of the agent it was built to drive, in one place: where the agent's inputs
// and outputs stand in the database, the facility of its trace records, its plug-in's file name
// and its default name. Everything else the host learns through the plug-in's entry point and
// the framework's generic interface.
#pragma once

#include "platform/model/DatabasePaths.h"

namespace Host {

// The GPIO LED mappings and the LED configuration that the host publishes as the other agents.
inline constexpr auto& kMappingPath = Hardware::kGpioLedMappingPath;
inline constexpr auto& kLedConfigPath = Hardware::kLedConfigPath;
// The pin configuration that the agent writes, and the agent's own entry among the pins.
inline constexpr auto& kPinPath = Hardware::kCorvelPinPath;
inline constexpr auto& kAgentOutputEntry = Hardware::kLedSystemEntry;

// The facility of the agent's own records, the ones that `expect trace` checks.
inline constexpr char kAgentTraceFacility[] = "Pinlamp";

// The plug-in looked for beside warden when no --agent is given.
inline constexpr char kAgentLibraryName[] = "libpinlamp.so";
inline constexpr char kDefaultAgentName[] = "pinlamp";

}  // namespace Host
