// Hardware::Gpio::GpioLedConfig: which GPIO pins drive each colour element of one LED, published
// by the platform agent that knows the board's wiring. Nothing is driven until `ready` is set.
#pragma once

#include <array>
#include <optional>

#include "platform/model/PinColour.h"
#include "platform/zel/Entity.h"
#include "platform/zel/NameMap.h"
#include "platform/zel/Notifiee.h"

namespace Hardware::Gpio {

// A set of pin names; only the keys matter.
using PinNameSet = Zel::NameMap<bool>;

class GpioLedConfig : public Zel::Entity {
 public:
  struct Attr {
    enum : Zel::AttributeId {
      ledConfig = 1,
      gpioYellowName,
      gpioYellowNameImmediate,
      gpioGreenName,
      gpioGreenNameImmediate,
      gpioRedName,
      gpioRedNameImmediate,
      gpioOrangeName,
      gpioOrangeNameImmediate,
      ready,
    };
  };

  class NotifieeConst : public Zel::NotifieeConstOf<GpioLedConfig> {
   public:
    virtual void onLedConfig() {}
    virtual void onGpioYellowName(Zel::Name) {}
    virtual void onGpioYellowNamezelImmediate() {}
    virtual void onGpioYellowName() {}
    virtual void onGpioGreenName(Zel::Name) {}
    virtual void onGpioGreenNamezelImmediate() {}
    virtual void onGpioGreenName() {}
    virtual void onGpioRedName(Zel::Name) {}
    virtual void onGpioRedNamezelImmediate() {}
    virtual void onGpioRedName() {}
    virtual void onGpioOrangeName(Zel::Name) {}
    virtual void onGpioOrangeNamezelImmediate() {}
    virtual void onGpioOrangeName() {}
    virtual void onReady() {}
    void zelDeliver(Zel::AttributeId attribute, Zel::Name const* key) override;

   protected:
    using Zel::NotifieeConstOf<GpioLedConfig>::NotifieeConstOf;
  };

  static Zel::Ptr<GpioLedConfig> gpioLedConfigIs(Zel::Name const& name);
  explicit GpioLedConfig(Zel::Name name) : Zel::Entity(std::move(name)) {}
  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;

  // The LED configuration this mapping belongs to (by name); carried, not interpreted.
  Zel::Name const& ledConfig() const noexcept { return ledConfig_; }
  void ledConfigIs(Zel::Name const& name);

  // One colour's pin names; the per-colour attributes below are the model's names for them.
  PinNameSet const& pinNames(PinColour colour) const noexcept { return pinNames_[indexOf(colour)]; }
  void pinNamesIs(PinColour colour, Zel::Name const& pin, bool value = true);
  // The flag that was stored with the name; none for a name the set did not hold.
  std::optional<bool> pinNamesDel(PinColour colour, Zel::Name const& pin);

  PinNameSet const& gpioYellowName() const noexcept { return pinNames(PinColour::yellow); }
  PinNameSet const& gpioGreenName() const noexcept { return pinNames(PinColour::green); }
  PinNameSet const& gpioRedName() const noexcept { return pinNames(PinColour::red); }
  PinNameSet const& gpioOrangeName() const noexcept { return pinNames(PinColour::orange); }
  void gpioYellowNameIs(Zel::Name const& pin, bool value = true) {
    pinNamesIs(PinColour::yellow, pin, value);
  }
  void gpioGreenNameIs(Zel::Name const& pin, bool value = true) {
    pinNamesIs(PinColour::green, pin, value);
  }
  void gpioRedNameIs(Zel::Name const& pin, bool value = true) {
    pinNamesIs(PinColour::red, pin, value);
  }
  void gpioOrangeNameIs(Zel::Name const& pin, bool value = true) {
    pinNamesIs(PinColour::orange, pin, value);
  }
  std::optional<bool> gpioYellowNameDel(Zel::Name const& pin) {
    return pinNamesDel(PinColour::yellow, pin);
  }
  std::optional<bool> gpioGreenNameDel(Zel::Name const& pin) {
    return pinNamesDel(PinColour::green, pin);
  }
  std::optional<bool> gpioRedNameDel(Zel::Name const& pin) {
    return pinNamesDel(PinColour::red, pin);
  }
  std::optional<bool> gpioOrangeNameDel(Zel::Name const& pin) {
    return pinNamesDel(PinColour::orange, pin);
  }

  bool ready() const noexcept { return ready_; }
  void readyIs(bool ready);

 private:
  Zel::Name ledConfig_;
  std::array<PinNameSet, kPinColourCount> pinNames_;
  bool ready_ = false;
};

}  // namespace Hardware::Gpio
