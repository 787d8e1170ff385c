// What the HTTP panel shows, borrowed from the run that serves it: the loop it runs on, the pin
// directory the agent writes (or, in `drive`, the copy of the server's pin table), the LED and
// mapping directories when an agent runs here, and the database's state as the run describes it.
#pragma once

#include <functional>
#include <string>

#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/model/LedSystemConfigDir.h"
#include "platform/zel/ActivityManager.h"
#include "platform/zel/Dir.h"

namespace Http {

struct PanelFeed {
  std::string title;  // the agent's name, or what a drive run drives
  Zel::ActivityManager& loop;
  Zel::Dir& pins;
  Hardware::Gpio::GpioLedSystemConfigDir const* mappings = nullptr;  // none in `drive`
  Hardware::Led::LedSystemConfigDir const* leds = nullptr;           // none in `drive`
  std::function<std::string()> databaseState;  // "embedded", "unix:/run/x.sock connected", ...
  double startTime = 0;                        // loop time when the run started
};

}  // namespace Http
