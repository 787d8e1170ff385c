#include "platform/model/CorvelGpioLedConfig.h"

#include "platform/model/TypeRegistration.h"
#include "platform/zel/Exception.h"

namespace Hardware::Gpio {

namespace {
ModelTypeRegistration<CorvelGpioLedConfig> const registration;
}

Zel::TypeNode const& CorvelGpioLedConfig::type() {
  static Zel::TypeNode const node("Hardware::Gpio::CorvelGpioLedConfig",
                                  &newModelEntity<CorvelGpioLedConfig>, &Zel::Entity::type());
  return node;
}

Zel::TypeNode const* CorvelGpioLedConfig::fwkType() const {
  return &type();
}

void CorvelGpioLedConfig::ledSystemConfigIs(Zel::Entity const* directory) {
  if (directory == ledSystemConfig_) return;
  ledSystemConfig_ = directory;
  notify(Attr::ledSystemConfig);
}

namespace {
// The per-key notification of each colour's pins.
constexpr Zel::AttributeId kPinsAttribute[kPinColourCount] = {
    CorvelGpioLedConfig::Attr::gpioYellow, CorvelGpioLedConfig::Attr::gpioGreen,
    CorvelGpioLedConfig::Attr::gpioRed, CorvelGpioLedConfig::Attr::gpioOrange};
}  // namespace

void CorvelGpioLedConfig::pinsIs(PinColour colour, Zel::Ptr<CorvelPinConfig> const& pin) {
  if (!pin) Zel::throwRangeException("null ValidPtr");
  PinConfigs& pins = pins_[indexOf(colour)];
  if (auto const* existing = pins.find(pin->name()); existing && *existing == pin) return;
  pins.insert(pin->name(), pin);
  notify(kPinsAttribute[indexOf(colour)], pin->name());
}

Zel::Ptr<CorvelPinConfig> CorvelGpioLedConfig::pinsDel(PinColour colour, Zel::Name const& pin) {
  Zel::Ptr<CorvelPinConfig> removed = pins_[indexOf(colour)].take(pin);
  if (removed) notify(kPinsAttribute[indexOf(colour)], pin);
  return removed;
}

void CorvelGpioLedConfig::NotifieeConst::zelDeliver(Zel::AttributeId attribute,
                                                    Zel::Name const* key) {
  switch (attribute) {
    case Attr::ledSystemConfig:
      return onLedSystemConfig();
    case Attr::gpioYellow:
      return key ? onGpioYellow(*key) : onGpioYellow();
    case Attr::gpioYellowImmediate:
      return onGpioYellowzelImmediate();
    case Attr::gpioGreen:
      return key ? onGpioGreen(*key) : onGpioGreen();
    case Attr::gpioGreenImmediate:
      return onGpioGreenzelImmediate();
    case Attr::gpioRed:
      return key ? onGpioRed(*key) : onGpioRed();
    case Attr::gpioRedImmediate:
      return onGpioRedzelImmediate();
    case Attr::gpioOrange:
      return key ? onGpioOrange(*key) : onGpioOrange();
    case Attr::gpioOrangeImmediate:
      return onGpioOrangezelImmediate();
  }
}

}  // namespace Hardware::Gpio
