#include "platform/inputs/InputApplier.h"

#include <algorithm>

namespace Inputs {

namespace {

using Hardware::Gpio::GpioLedConfig;
using Hardware::Gpio::kPinColours;
using Hardware::Gpio::PinColour;
using Hardware::Gpio::PinNameSet;

constexpr std::size_t kScannedPinSet = 8;

// Whether the set holds `pin`, set, compared as text: a resync re-applies every mapping as it
// stands, and this spares making a name (an allocation) for each pin that is already there.
// Pin sets are a handful of names; a larger one is asked by name.
bool holdsSet(PinNameSet const& set, std::string_view pin) {
  if (set.size() > kScannedPinSet) return false;
  for (auto it = set.begin(); it != set.end(); ++it) {
    if (it.key().view() == pin) return it.value();
  }
  return false;
}

void pinSetIs(GpioLedConfig& mapping, PinColour colour, std::vector<std::string_view> const& pins) {
  // Collected first: removing from the set being walked would invalidate the walk.
  std::vector<Zel::Name> stale;
  for (auto member : mapping.pinNames(colour)) {
    if (std::find(pins.begin(), pins.end(), member.key.view()) == pins.end()) {
      stale.push_back(member.key);
    }
  }
  for (Zel::Name const& pin : stale) mapping.pinNamesDel(colour, pin);
  for (std::string_view pin : pins) {
    if (holdsSet(mapping.pinNames(colour), pin)) continue;
    mapping.pinNamesIs(colour, Zel::Name(pin.data(), pin.size()));
  }
}

void fieldsApplied(GpioLedConfig& mapping, MappingFields const& fields) {
  for (PinColour colour : kPinColours) {
    if (auto const& pins = fields.pins[Hardware::Gpio::indexOf(colour)]) {
      pinSetIs(mapping, colour, *pins);
    }
  }
  if (fields.ready) mapping.readyIs(*fields.ready);
}

Led::LightSetting ownedFieldsOn(Led::LightSetting base, Led::LightSetting const& setting) {
  base.yellow = setting.yellow;
  base.green = setting.green;
  base.red = setting.red;
  base.orange = setting.orange;
  base.flashInterval = setting.flashInterval;
  return base;
}

}  // namespace

bool mappingApplied(Hardware::Gpio::GpioLedSystemConfigDir& mappings, Zel::Name const& name,
                    InputChange change, MappingFields const& fields) {
  if (change == InputChange::remove) return static_cast<bool>(mappings.gpioLedsDel(name));
  Zel::Ptr<GpioLedConfig> const held = mappings.gpioLeds(name);
  if (held && change == InputChange::set) {
    fieldsApplied(*held, fields);
    return true;
  }
  // Built whole before it is inserted, so that the agent never sees it half-written.
  Zel::Ptr<GpioLedConfig> const built = GpioLedConfig::gpioLedConfigIs(name);
  fieldsApplied(*built, fields);
  mappings.gpioLedsIs(built);
  return static_cast<bool>(held);
}

bool ledApplied(Hardware::Led::LedSystemConfigDir& leds, Zel::Name const& name, InputChange change,
                Led::LightSetting const& setting) {
  using Hardware::Led::LedConfig;
  if (change == InputChange::remove) return static_cast<bool>(leds.ledsDel(name));
  Zel::Ptr<LedConfig> const held = leds.leds(name);
  if (held && change == InputChange::set) {
    held->lightSettingIs(ownedFieldsOn(held->lightSetting(), setting));
    return true;
  }
  Zel::Ptr<LedConfig> const built = LedConfig::ledConfigIs(name);
  built->lightSettingIs(ownedFieldsOn(Led::LightSetting{}, setting));
  leds.ledsIs(built);
  return static_cast<bool>(held);
}

}  // namespace Inputs
