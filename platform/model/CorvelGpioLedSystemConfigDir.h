// Hardware::Gpio::CorvelGpioLedSystemConfigDir: an LED agent's own directory of per-LED pin
// configuration, keyed by LED name. Made by the agent from a name alone, outside any mount.
#pragma once

#include "platform/model/ChildCollection.h"
#include "platform/model/CorvelGpioLedConfig.h"
#include "platform/zel/Notifiee.h"

namespace Hardware::Gpio {

class CorvelGpioLedSystemConfigDir : public Zel::Entity {
 public:
  struct Attr {
    enum : Zel::AttributeId { gpioLeds = 1, gpioLedsImmediate };
  };

  class NotifieeConst : public Zel::NotifieeConstOf<CorvelGpioLedSystemConfigDir> {
   public:
    virtual void onGpioLeds(Zel::Name) {}
    virtual void onGpioLedszelImmediate() {}
    virtual void onGpioLeds() {}
    void zelDeliver(Zel::AttributeId attribute, Zel::Name const* key) override;

   protected:
    using Zel::NotifieeConstOf<CorvelGpioLedSystemConfigDir>::NotifieeConstOf;
  };

  explicit CorvelGpioLedSystemConfigDir(Zel::Name name)
      : Zel::Entity(std::move(name)), gpioLeds_(this) {}
  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;

  Zel::NameMap<Zel::Ptr<CorvelGpioLedConfig>> const& gpioLeds() const noexcept {
    return gpioLeds_.members();
  }
  Zel::Ptr<CorvelGpioLedConfig> gpioLeds(Zel::Name const& name) const {
    return gpioLeds_.find(name);
  }
  // The LED's configuration, made (empty) when absent.
  Zel::Ptr<CorvelGpioLedConfig> gpioLedsIs(Zel::Name const& name);
  Zel::Ptr<CorvelGpioLedConfig> gpioLedsDel(Zel::Name const& name);

 private:
  ChildCollection<CorvelGpioLedConfig> gpioLeds_;
};

}  // namespace Hardware::Gpio
