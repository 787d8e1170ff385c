#include "platform/model/CorvelGpioLedSystemConfigDir.h"

#include "platform/model/TypeRegistration.h"

namespace Hardware::Gpio {

namespace {
ModelTypeRegistration<CorvelGpioLedSystemConfigDir> const registration;
}

Zel::TypeNode const& CorvelGpioLedSystemConfigDir::type() {
  static Zel::TypeNode const node("Hardware::Gpio::CorvelGpioLedSystemConfigDir",
                                  &newModelEntity<CorvelGpioLedSystemConfigDir>,
                                  &Zel::Entity::type());
  return node;
}

Zel::TypeNode const* CorvelGpioLedSystemConfigDir::fwkType() const {
  return &type();
}

Zel::Ptr<CorvelGpioLedConfig> CorvelGpioLedSystemConfigDir::gpioLedsIs(Zel::Name const& name) {
  if (Zel::Ptr<CorvelGpioLedConfig> existing = gpioLeds_.find(name)) return existing;
  Zel::Ptr<CorvelGpioLedConfig> led = Zel::allocate<CorvelGpioLedConfig>(name);
  led->ledSystemConfigIs(this);
  gpioLeds_.insert(led);
  notify(Attr::gpioLeds, name);
  return led;
}

Zel::Ptr<CorvelGpioLedConfig> CorvelGpioLedSystemConfigDir::gpioLedsDel(Zel::Name const& name) {
  Zel::Ptr<CorvelGpioLedConfig> removed = gpioLeds_.take(name);
  if (removed) notify(Attr::gpioLeds, name);
  return removed;
}

void CorvelGpioLedSystemConfigDir::NotifieeConst::zelDeliver(Zel::AttributeId attribute,
                                                             Zel::Name const* key) {
  switch (attribute) {
    case Attr::gpioLeds:
      return key ? onGpioLeds(*key) : onGpioLeds();
    case Attr::gpioLedsImmediate:
      return onGpioLedszelImmediate();
  }
}

}  // namespace Hardware::Gpio
