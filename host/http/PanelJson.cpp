#include "host/http/PanelJson.h"

#include <array>
#include <cstdio>
#include <sstream>
#include <unordered_set>

#include "host/drive/PinDriver.h"
#include "platform/model/CorvelPinConfig.h"
#include "platform/model/GpioLedConfig.h"
#include "platform/model/LedConfig.h"
#include "platform/model/PinColour.h"

namespace Http {

namespace {

constexpr std::array<char const*, 4> kColours = {"yellow", "green", "red", "orange"};

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", value);
  return text;
}

std::string settingJson(Led::LightSetting const& setting) {
  std::string colours;
  auto add = [&colours](bool lit, char const* name) {
    if (!lit) return;
    if (!colours.empty()) colours += ",";
    colours.append("\"").append(name).append("\"");
  };
  add(setting.yellow, "yellow");
  add(setting.green, "green");
  add(setting.red, "red");
  add(setting.orange, "orange");
  std::ostringstream text;
  text << setting;
  return "{\"colours\":[" + colours + "],\"flashInterval\":" + number(setting.flashInterval) +
         ",\"text\":" + jsonString(text.str()) + "}";
}

// What the LED is asked to show: the configuration of the same name as the mapping.
std::string ledSetting(PanelFeed const& feed, Hardware::Gpio::GpioLedConfig const& mapping) {
  if (!feed.leds) return "null";
  auto const* led = feed.leds->leds().find(mapping.name());
  return led && *led ? settingJson((*led)->lightSetting()) : "null";
}

void appendPin(std::string& out, std::string const& name, std::optional<std::uint32_t> value,
               Drive::PinDriver const* driver) {
  out += "{\"name\":" + jsonString(name) + ",\"value\":" + pinValueJson(value);
  if (driver) {
    if (Drive::PinDriver::Pin const* pin = driver->find(name)) {
      out.append(",\"backend\":\"").append(Drive::backendName(pin->address->backend));
      out.append("\",\"written\":");
      out += pin->shown ? (*pin->shown ? "1" : "0") : "null";
      out += ",\"error\":" + jsonString(pin->error);
    } else {
      out += ",\"backend\":null,\"written\":null,\"error\":";
      out += jsonString(driver->unmapped().contains(name) ? "not in the pin map" : "");
    }
  }
  out += "}";
}

}  // namespace

std::string jsonString(std::string_view text) {
  std::string out = "\"";
  for (char c : text) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned char>(c));
          out += escaped;
        } else {
          out += c;
        }
    }
  }
  return out + "\"";
}

std::string pinValueJson(std::optional<std::uint32_t> value) {
  return value ? std::to_string(*value) : "null";
}

std::string ledsJson(PanelFeed const& feed) {
  std::string out = "[";
  if (feed.mappings) {
    bool first = true;
    for (auto member : feed.mappings->gpioLeds()) {
      Hardware::Gpio::GpioLedConfig const& mapping = *member.value;
      if (!first) out += ",";
      first = false;
      out += "{\"name\":" + jsonString(mapping.name().stdString());
      out += ",\"ready\":";
      out += mapping.ready() ? "true" : "false";
      out += ",\"setting\":" + ledSetting(feed, mapping) + ",\"mapping\":{";
      for (std::size_t colour = 0; colour < kColours.size(); ++colour) {
        if (colour != 0) out += ",";
        out.append("\"").append(kColours[colour]).append("\":[");
        bool firstPin = true;
        for (auto pin : mapping.pinNames(static_cast<Hardware::Gpio::PinColour>(colour))) {
          if (!firstPin) out += ",";
          firstPin = false;
          out += jsonString(pin.key.stdString());
        }
        out += "]";
      }
      out += "}}";
    }
  }
  return out + "]";
}

std::string pinsJson(PanelFeed const& feed, Drive::PinDriver const* driver) {
  std::string out = "[";
  std::unordered_set<std::string> listed;
  for (auto member : feed.pins.entries()) {
    auto const pin = Zel::ptrCast<Hardware::Gpio::CorvelPinConfig>(member.value);
    if (!pin) continue;  // the agent's own output directory lives beside the pins
    std::string name = member.key.stdString();
    if (!listed.empty()) out += ",";
    appendPin(out, name, pin->value(), driver);
    listed.insert(std::move(name));
  }
  if (driver) {
    for (Drive::PinDriver::Pin const& pin : driver->pins()) {
      if (listed.contains(pin.address->pin)) continue;
      if (!listed.empty()) out += ",";
      appendPin(out, pin.address->pin, std::nullopt, driver);
      listed.insert(pin.address->pin);
    }
  }
  return out + "]";
}

std::string pictureJson(PanelFeed const& feed, Drive::PinDriver const* driver) {
  return "{\"title\":" + jsonString(feed.title) +
         ",\"db\":" + jsonString(feed.databaseState ? feed.databaseState() : "embedded") +
         ",\"time\":" + number(feed.loop.currentTime() - feed.startTime) +
         ",\"leds\":" + ledsJson(feed) + ",\"pins\":" + pinsJson(feed, driver) +
         (feed.mappings ? "" : ",\"pinsOnly\":true") + "}";
}

}  // namespace Http
