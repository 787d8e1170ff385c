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
  if (Zel::Ptr<CorvelGpioLedConfig> existing = gpioLeds(name)) return existing;
  Zel::Ptr<CorvelGpioLedConfig> led = Zel::allocate<CorvelGpioLedConfig>(name);
  led->ledSystemConfigIs(this);
  return gpioLedsIs(led);
}

}  // namespace Hardware::Gpio
