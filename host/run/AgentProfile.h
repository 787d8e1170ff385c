// What the host knows of the agent it was built to drive, in one place: where the agent's inputs
// and outputs stand in the database, the facility of its trace records, its plug-in's file name
// and its default name. Everything else the host learns through the plug-in's entry point and
// the framework's generic interface.
#pragma once

namespace Host {

// The GPIO LED mappings and the LED configuration that the host publishes as the other agents.
inline constexpr char kMappingPath[] = "hardware/gpio/config/led";
inline constexpr char kLedConfigPath[] = "hardware/led/config";
// The pin configuration that the agent writes.
inline constexpr char kPinPath[] = "hardware/corvel/gpio/config";

// The facility of the agent's own records, the ones that `expect trace` checks.
inline constexpr char kAgentTraceFacility[] = "Pinlamp";

// The plug-in looked for beside warden when no --agent is given.
inline constexpr char kAgentLibraryName[] = "libpinlamp.so";
inline constexpr char kDefaultAgentName[] = "pinlamp";

}  // namespace Host
