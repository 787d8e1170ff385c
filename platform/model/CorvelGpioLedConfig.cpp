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

void CorvelGpioLedConfig::pinIs(PinConfigs& pins, Zel::AttributeId attribute,
                                Zel::Ptr<CorvelPinConfig> const& pin) {
  if (!pin) Zel::throwRangeException("null ValidPtr");
  if (auto const* existing = pins.find(pin->name()); existing && *existing == pin) return;
  pins.insert(pin->name(), pin);
  notify(attribute, pin->name());
}

void CorvelGpioLedConfig::pinDel(PinConfigs& pins, Zel::AttributeId attribute,
                                 Zel::Name const& pin) {
  if (pins.erase(pin)) notify(attribute, pin);
}

void CorvelGpioLedConfig::gpioYellowIs(Zel::Ptr<CorvelPinConfig> const& pin) {
  pinIs(yellow_, Attr::gpioYellow, pin);
}
void CorvelGpioLedConfig::gpioGreenIs(Zel::Ptr<CorvelPinConfig> const& pin) {
  pinIs(green_, Attr::gpioGreen, pin);
}
void CorvelGpioLedConfig::gpioRedIs(Zel::Ptr<CorvelPinConfig> const& pin) {
  pinIs(red_, Attr::gpioRed, pin);
}
void CorvelGpioLedConfig::gpioOrangeIs(Zel::Ptr<CorvelPinConfig> const& pin) {
  pinIs(orange_, Attr::gpioOrange, pin);
}
void CorvelGpioLedConfig::gpioYellowDel(Zel::Name const& pin) {
  pinDel(yellow_, Attr::gpioYellow, pin);
}
void CorvelGpioLedConfig::gpioGreenDel(Zel::Name const& pin) {
  pinDel(green_, Attr::gpioGreen, pin);
}
void CorvelGpioLedConfig::gpioRedDel(Zel::Name const& pin) {
  pinDel(red_, Attr::gpioRed, pin);
}
void CorvelGpioLedConfig::gpioOrangeDel(Zel::Name const& pin) {
  pinDel(orange_, Attr::gpioOrange, pin);
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
