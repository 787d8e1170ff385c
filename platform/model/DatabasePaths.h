// Where the LED agent's inputs and outputs stand in the state database. The agent mounts them,
// the host publishes to and reads from them, and the tests build them, all from these names, so
// that moving a directory is one edit.
#pragma once

namespace Hardware {

// The GPIO LED mappings that the hardware agents publish.
inline constexpr char kGpioLedMappingPath[] = "hardware/gpio/config/led";
// The LED settings that the policy agents publish.
inline constexpr char kLedConfigPath[] = "hardware/led/config";
// The pin configuration that the LED agent writes.
inline constexpr char kCorvelPinPath[] = "hardware/corvel/gpio/config";
// The LED agent's own directory of per-LED output configuration, inside kCorvelPinPath beside
// the pins.
inline constexpr char kLedSystemEntry[] = "ledSystem";

}  // namespace Hardware
