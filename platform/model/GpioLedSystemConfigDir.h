// Hardware::Gpio::GpioLedSystemConfigDir: the LED-to-GPIO mapping of every LED, keyed by LED name.
#pragma once

#include "platform/model/ChildCollection.h"
#include "platform/model/GpioLedConfig.h"
#include "platform/zel/Notifiee.h"

namespace Hardware::Gpio {

class GpioLedSystemConfigDir : public Zel::Entity {
 public:
  struct Attr {
    enum : Zel::AttributeId { gpioLeds = 1, gpioLedsImmediate };
  };

  class NotifieeConst : public Zel::NotifieeConstOf<GpioLedSystemConfigDir> {
   public:
    virtual void onGpioLeds(Zel::Name) {}
    virtual void onGpioLedszelImmediate() {}
    virtual void onGpioLeds() {}
    void zelDeliver(Zel::AttributeId attribute, Zel::Name const* key) override;

   protected:
    using Zel::NotifieeConstOf<GpioLedSystemConfigDir>::NotifieeConstOf;
  };

  explicit GpioLedSystemConfigDir(Zel::Name name) : Zel::Entity(std::move(name)), gpioLeds_(this) {}
  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;

  Zel::NameMap<Zel::Ptr<GpioLedConfig>> const& gpioLeds() const noexcept {
    return gpioLeds_.members();
  }
  Zel::Ptr<GpioLedConfig> gpioLeds(Zel::Name const& name) const { return gpioLeds_.find(name); }
  // The LED's mapping, made empty (and not ready) when absent.
  Zel::Ptr<GpioLedConfig> gpioLedsIs(Zel::Name const& name);
  // Publishes a fully built mapping, replacing any other one of that name in one step.
  Zel::Ptr<GpioLedConfig> gpioLedsIs(Zel::Ptr<GpioLedConfig> const& led);
  Zel::Ptr<GpioLedConfig> gpioLedsDel(Zel::Name const& name);
  // Removes every mapping; reactors learn of it through the immediate and whole-collection hooks.
  void gpioLedsDelAll();

 private:
  ChildCollection<GpioLedConfig> gpioLeds_;
};

}  // namespace Hardware::Gpio
