#include "platform/model/GpioLedSystemConfigDir.h"

#include "platform/model/TypeRegistration.h"

namespace Hardware::Gpio {

namespace {
ModelTypeRegistration<GpioLedSystemConfigDir> const registration;
}

Zel::TypeNode const& GpioLedSystemConfigDir::type() {
  static Zel::TypeNode const node("Hardware::Gpio::GpioLedSystemConfigDir",
                                  &newModelEntity<GpioLedSystemConfigDir>, &Zel::Entity::type());
  return node;
}

Zel::TypeNode const* GpioLedSystemConfigDir::fwkType() const {
  return &type();
}

Zel::Ptr<GpioLedConfig> GpioLedSystemConfigDir::gpioLedsIs(Zel::Name const& name) {
  if (Zel::Ptr<GpioLedConfig> existing = gpioLeds_.find(name)) return existing;
  return gpioLedsIs(GpioLedConfig::gpioLedConfigIs(name));
}

Zel::Ptr<GpioLedConfig> GpioLedSystemConfigDir::gpioLedsIs(Zel::Ptr<GpioLedConfig> const& led) {
  if (gpioLeds_.insert(led)) notify(Attr::gpioLeds, led->name());
  return led;
}

Zel::Ptr<GpioLedConfig> GpioLedSystemConfigDir::gpioLedsDel(Zel::Name const& name) {
  Zel::Ptr<GpioLedConfig> removed = gpioLeds_.take(name);
  if (removed) notify(Attr::gpioLeds, name);
  return removed;
}

void GpioLedSystemConfigDir::gpioLedsDelAll() {
  if (gpioLeds_.members().empty()) return;
  for (auto member : gpioLeds_.members()) gpioLeds_.take(member.key);
  notifyImmediate(Attr::gpioLedsImmediate);
  notify(Attr::gpioLeds);
}

void GpioLedSystemConfigDir::NotifieeConst::zelDeliver(Zel::AttributeId attribute,
                                                       Zel::Name const* key) {
  switch (attribute) {
    case Attr::gpioLeds:
      return key ? onGpioLeds(*key) : onGpioLeds();
    case Attr::gpioLedsImmediate:
      return onGpioLedszelImmediate();
  }
}

}  // namespace Hardware::Gpio
