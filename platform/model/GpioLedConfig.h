// Hardware::Gpio::GpioLedConfig: which GPIO pins drive each colour element of one LED, published
// by the platform agent that knows the board's wiring. Nothing is driven until `ready` is set.
#pragma once

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

  PinNameSet const& gpioYellowName() const noexcept { return yellow_; }
  PinNameSet const& gpioGreenName() const noexcept { return green_; }
  PinNameSet const& gpioRedName() const noexcept { return red_; }
  PinNameSet const& gpioOrangeName() const noexcept { return orange_; }
  void gpioYellowNameIs(Zel::Name const& pin, bool value = true);
  void gpioGreenNameIs(Zel::Name const& pin, bool value = true);
  void gpioRedNameIs(Zel::Name const& pin, bool value = true);
  void gpioOrangeNameIs(Zel::Name const& pin, bool value = true);
  void gpioYellowNameDel(Zel::Name const& pin);
  void gpioGreenNameDel(Zel::Name const& pin);
  void gpioRedNameDel(Zel::Name const& pin);
  void gpioOrangeNameDel(Zel::Name const& pin);

  bool ready() const noexcept { return ready_; }
  void readyIs(bool ready);

 private:
  void pinIs(PinNameSet& set, Zel::AttributeId attribute, Zel::Name const& pin, bool value);
  void pinDel(PinNameSet& set, Zel::AttributeId attribute, Zel::Name const& pin);

  Zel::Name ledConfig_;
  PinNameSet yellow_;
  PinNameSet green_;
  PinNameSet red_;
  PinNameSet orange_;
  bool ready_ = false;
};

}  // namespace Hardware::Gpio
