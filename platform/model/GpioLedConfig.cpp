#include "platform/model/GpioLedConfig.h"

#include "platform/model/TypeRegistration.h"

namespace Hardware::Gpio {

namespace {
ModelTypeRegistration<GpioLedConfig> const registration;
}

Zel::Ptr<GpioLedConfig> GpioLedConfig::gpioLedConfigIs(Zel::Name const& name) {
  return Zel::allocate<GpioLedConfig>(name);
}

Zel::TypeNode const& GpioLedConfig::type() {
  static Zel::TypeNode const node("Hardware::Gpio::GpioLedConfig", &newModelEntity<GpioLedConfig>,
                                  &Zel::Entity::type());
  return node;
}

Zel::TypeNode const* GpioLedConfig::fwkType() const {
  return &type();
}

void GpioLedConfig::ledConfigIs(Zel::Name const& name) {
  if (name == ledConfig_) return;
  ledConfig_ = name;
  notify(Attr::ledConfig);
}

void GpioLedConfig::pinIs(PinNameSet& set, Zel::AttributeId attribute, Zel::Name const& pin,
                          bool value) {
  if (bool const* existing = set.find(pin); existing && *existing == value) return;
  set.insert(pin, value);
  notify(attribute, pin);
}

void GpioLedConfig::pinDel(PinNameSet& set, Zel::AttributeId attribute, Zel::Name const& pin) {
  if (set.erase(pin)) notify(attribute, pin);
}

void GpioLedConfig::gpioYellowNameIs(Zel::Name const& pin, bool value) {
  pinIs(yellow_, Attr::gpioYellowName, pin, value);
}
void GpioLedConfig::gpioGreenNameIs(Zel::Name const& pin, bool value) {
  pinIs(green_, Attr::gpioGreenName, pin, value);
}
void GpioLedConfig::gpioRedNameIs(Zel::Name const& pin, bool value) {
  pinIs(red_, Attr::gpioRedName, pin, value);
}
void GpioLedConfig::gpioOrangeNameIs(Zel::Name const& pin, bool value) {
  pinIs(orange_, Attr::gpioOrangeName, pin, value);
}
void GpioLedConfig::gpioYellowNameDel(Zel::Name const& pin) {
  pinDel(yellow_, Attr::gpioYellowName, pin);
}
void GpioLedConfig::gpioGreenNameDel(Zel::Name const& pin) {
  pinDel(green_, Attr::gpioGreenName, pin);
}
void GpioLedConfig::gpioRedNameDel(Zel::Name const& pin) {
  pinDel(red_, Attr::gpioRedName, pin);
}
void GpioLedConfig::gpioOrangeNameDel(Zel::Name const& pin) {
  pinDel(orange_, Attr::gpioOrangeName, pin);
}

void GpioLedConfig::readyIs(bool ready) {
  if (ready == ready_) return;
  ready_ = ready;
  notify(Attr::ready);
}

void GpioLedConfig::NotifieeConst::zelDeliver(Zel::AttributeId attribute, Zel::Name const* key) {
  switch (attribute) {
    case Attr::ledConfig:
      return onLedConfig();
    case Attr::gpioYellowName:
      return key ? onGpioYellowName(*key) : onGpioYellowName();
    case Attr::gpioYellowNameImmediate:
      return onGpioYellowNamezelImmediate();
    case Attr::gpioGreenName:
      return key ? onGpioGreenName(*key) : onGpioGreenName();
    case Attr::gpioGreenNameImmediate:
      return onGpioGreenNamezelImmediate();
    case Attr::gpioRedName:
      return key ? onGpioRedName(*key) : onGpioRedName();
    case Attr::gpioRedNameImmediate:
      return onGpioRedNamezelImmediate();
    case Attr::gpioOrangeName:
      return key ? onGpioOrangeName(*key) : onGpioOrangeName();
    case Attr::gpioOrangeNameImmediate:
      return onGpioOrangeNamezelImmediate();
    case Attr::ready:
      return onReady();
  }
}

}  // namespace Hardware::Gpio
