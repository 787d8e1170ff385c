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
  if (Zel::Ptr<GpioLedConfig> existing = gpioLeds(name)) return existing;
  return gpioLedsIs(GpioLedConfig::gpioLedConfigIs(name));
}

}  // namespace Hardware::Gpio
