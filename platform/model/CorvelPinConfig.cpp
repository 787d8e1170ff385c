#include "platform/model/CorvelPinConfig.h"

#include "platform/model/TypeRegistration.h"

namespace Hardware::Gpio {

namespace {
ModelTypeRegistration<CorvelPinConfig> const registration;
}

Zel::TypeNode const& CorvelPinConfig::type() {
  static Zel::TypeNode const node("Hardware::Gpio::CorvelPinConfig",
                                  &newModelEntity<CorvelPinConfig>, &Zel::Entity::type());
  return node;
}

Zel::TypeNode const* CorvelPinConfig::fwkType() const {
  return &type();
}

void CorvelPinConfig::valueIs(U32 value) {
  if (value == value_) return;
  value_ = value;
  notify(Attr::value);
}

void CorvelPinConfig::NotifieeConst::zelDeliver(Zel::AttributeId attribute, Zel::Name const*) {
  if (attribute == Attr::value) onValue();
}

}  // namespace Hardware::Gpio
