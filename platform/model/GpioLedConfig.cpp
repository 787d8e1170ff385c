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

namespace {
// The per-key notification of each colour's pin-name set.
constexpr Zel::AttributeId kPinNamesAttribute[kPinColourCount] = {
    GpioLedConfig::Attr::gpioYellowName, GpioLedConfig::Attr::gpioGreenName,
    GpioLedConfig::Attr::gpioRedName, GpioLedConfig::Attr::gpioOrangeName};
}  // namespace

void GpioLedConfig::pinNamesIs(PinColour colour, Zel::Name const& pin, bool value) {
  PinNameSet& set = pinNames_[indexOf(colour)];
  if (bool const* existing = set.find(pin); existing && *existing == value) return;
  set.insert(pin, value);
  notify(kPinNamesAttribute[indexOf(colour)], pin);
}

std::optional<bool> GpioLedConfig::pinNamesDel(PinColour colour, Zel::Name const& pin) {
  PinNameSet& set = pinNames_[indexOf(colour)];
  if (!set.contains(pin)) return std::nullopt;
  bool const removed = set.take(pin);
  notify(kPinNamesAttribute[indexOf(colour)], pin);
  return removed;
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
