// The panel as JSON: the LEDs (light setting, mapping, ready), the pins (value, and where a pin
// driver runs its backend, last write and error), and the full picture that starts every event
// stream. Built on request from the directories, so they never disagree with the agent.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/http/PanelFeed.h"

namespace Drive {
class PinDriver;
}

namespace Http {

// `text` as a JSON string, quotes included.
std::string jsonString(std::string_view text);

// [{"name","ready","setting":{"colours":[...],"flashInterval","text"}|null,
//   "mapping":{"yellow":[pins],"green":[...],"red":[...],"orange":[...]}}], in mapping order.
std::string ledsJson(PanelFeed const& feed);

// [{"name","value":N|null,"backend","written":0|1|null,"error"}]: the pins of the directory,
// then mapped pins the agent has not written; backend, written and error only with a driver.
std::string pinsJson(PanelFeed const& feed, Drive::PinDriver const* driver);

// {"title","db","time","leds":ledsJson,"pins":pinsJson}, and "pinsOnly":true where no agent
// runs (drive), so that the page draws the pins themselves.
std::string pictureJson(PanelFeed const& feed, Drive::PinDriver const* driver);

// A pin value as JSON: the number, or null for a pin that went away.
std::string pinValueJson(std::optional<std::uint32_t> value);

}  // namespace Http
