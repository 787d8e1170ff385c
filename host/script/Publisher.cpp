#include "host/script/Publisher.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace Host {

namespace {

using Hardware::Gpio::GpioLedConfig;
using Hardware::Gpio::PinNameSet;

struct PinSetAccess {
  PinNameSet const& (GpioLedConfig::*get)() const noexcept;
  void (GpioLedConfig::*add)(Zel::Name const&, bool);
  std::optional<bool> (GpioLedConfig::*remove)(Zel::Name const&);
};

// Indexed by Colour.
constexpr PinSetAccess kPinSets[kColourCount] = {
    {&GpioLedConfig::gpioYellowName, &GpioLedConfig::gpioYellowNameIs,
     &GpioLedConfig::gpioYellowNameDel},
    {&GpioLedConfig::gpioGreenName, &GpioLedConfig::gpioGreenNameIs,
     &GpioLedConfig::gpioGreenNameDel},
    {&GpioLedConfig::gpioRedName, &GpioLedConfig::gpioRedNameIs, &GpioLedConfig::gpioRedNameDel},
    {&GpioLedConfig::gpioOrangeName, &GpioLedConfig::gpioOrangeNameIs,
     &GpioLedConfig::gpioOrangeNameDel},
};

void replacePinSet(GpioLedConfig& mapping, PinSetAccess const& access,
                   std::vector<std::string> const& pins) {
  std::vector<Zel::Name> stale;
  for (auto member : (mapping.*access.get)()) {
    if (std::find(pins.begin(), pins.end(), member.key.view()) == pins.end()) {
      stale.push_back(member.key);
    }
  }
  for (Zel::Name const& pin : stale) (mapping.*access.remove)(pin);
  for (std::string const& pin : pins) (mapping.*access.add)(Zel::Name(pin), true);
}

void applyMapping(GpioLedConfig& mapping, MappingCommand const& command) {
  for (std::size_t colour = 0; colour < kColourCount; ++colour) {
    if (command.pins[colour]) replacePinSet(mapping, kPinSets[colour], *command.pins[colour]);
  }
  if (command.ready) mapping.readyIs(*command.ready);
}

Led::LightSetting settingOf(LedCommand const& command, Led::LightSetting setting) {
  setting.yellow = command.lit[static_cast<std::size_t>(Colour::yellow)];
  setting.green = command.lit[static_cast<std::size_t>(Colour::green)];
  setting.red = command.lit[static_cast<std::size_t>(Colour::red)];
  setting.orange = command.lit[static_cast<std::size_t>(Colour::orange)];
  setting.flashInterval = command.flashInterval;
  return setting;
}

}  // namespace

void publishMapping(Hardware::Gpio::GpioLedSystemConfigDir& mappings,
                    MappingCommand const& command) {
  Zel::Name const name(command.led);
  Zel::Ptr<GpioLedConfig> published = mappings.gpioLeds(name);
  if (published && !command.replace) {
    applyMapping(*published, command);
    return;
  }
  Zel::Ptr<GpioLedConfig> built = GpioLedConfig::gpioLedConfigIs(name);
  applyMapping(*built, command);
  mappings.gpioLedsIs(built);
}

void publishLed(Hardware::Led::LedSystemConfigDir& leds, LedCommand const& command) {
  using Hardware::Led::LedConfig;
  Zel::Name const name(command.led);
  Zel::Ptr<LedConfig> published = leds.leds(name);
  if (published && !command.replace) {
    published->lightSettingIs(settingOf(command, published->lightSetting()));
    return;
  }
  Zel::Ptr<LedConfig> built = LedConfig::ledConfigIs(name);
  built->lightSettingIs(settingOf(command, Led::LightSetting{}));
  leds.ledsIs(built);
}

bool withdrawMapping(Hardware::Gpio::GpioLedSystemConfigDir& mappings, std::string const& led) {
  return static_cast<bool>(mappings.gpioLedsDel(Zel::Name(led)));
}

bool withdrawLed(Hardware::Led::LedSystemConfigDir& leds, std::string const& led) {
  return static_cast<bool>(leds.ledsDel(Zel::Name(led)));
}

}  // namespace Host
