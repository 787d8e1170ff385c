// Hardware::Gpio::CorvelGpioLedConfig: the pin configuration entities of one LED's colour
// elements, written by the LED agent. The pins themselves live in the output pin directory;
// these collections hold references to them, keyed by pin name.
#pragma once

#include <array>

#include "platform/model/CorvelPinConfig.h"
#include "platform/model/PinColour.h"
#include "platform/zel/NameMap.h"

namespace Hardware::Gpio {

using PinConfigs = Zel::NameMap<Zel::Ptr<CorvelPinConfig>>;

class CorvelGpioLedConfig : public Zel::Entity {
 public:
  struct Attr {
    enum : Zel::AttributeId {
      ledSystemConfig = 1,
      gpioYellow,
      gpioYellowImmediate,
      gpioGreen,
      gpioGreenImmediate,
      gpioRed,
      gpioRedImmediate,
      gpioOrange,
      gpioOrangeImmediate,
    };
  };

  class NotifieeConst : public Zel::NotifieeConstOf<CorvelGpioLedConfig> {
   public:
    virtual void onLedSystemConfig() {}
    virtual void onGpioYellow(Zel::Name) {}
    virtual void onGpioYellowzelImmediate() {}
    virtual void onGpioYellow() {}
    virtual void onGpioGreen(Zel::Name) {}
    virtual void onGpioGreenzelImmediate() {}
    virtual void onGpioGreen() {}
    virtual void onGpioRed(Zel::Name) {}
    virtual void onGpioRedzelImmediate() {}
    virtual void onGpioRed() {}
    virtual void onGpioOrange(Zel::Name) {}
    virtual void onGpioOrangezelImmediate() {}
    virtual void onGpioOrange() {}
    void zelDeliver(Zel::AttributeId attribute, Zel::Name const* key) override;

   protected:
    using Zel::NotifieeConstOf<CorvelGpioLedConfig>::NotifieeConstOf;
  };

  explicit CorvelGpioLedConfig(Zel::Name name) : Zel::Entity(std::move(name)) {}
  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;

  // The LED system directory this configuration was made in: a plain back reference, used to
  // identify the configuration in messages.
  Zel::Entity const* ledSystemConfig() const noexcept { return ledSystemConfig_; }
  void ledSystemConfigIs(Zel::Entity const* directory);

  // One colour's pins; the per-colour attributes below are the model's names for them.
  PinConfigs const& pins(PinColour colour) const noexcept { return pins_[indexOf(colour)]; }
  // Adds the pin under its own name; a null pin is a range error ("null ValidPtr").
  void pinsIs(PinColour colour, Zel::Ptr<CorvelPinConfig> const& pin);
  // The pin that was held under that name; null for a name the colour did not hold.
  Zel::Ptr<CorvelPinConfig> pinsDel(PinColour colour, Zel::Name const& pin);

  PinConfigs const& gpioYellow() const noexcept { return pins(PinColour::yellow); }
  PinConfigs const& gpioGreen() const noexcept { return pins(PinColour::green); }
  PinConfigs const& gpioRed() const noexcept { return pins(PinColour::red); }
  PinConfigs const& gpioOrange() const noexcept { return pins(PinColour::orange); }
  void gpioYellowIs(Zel::Ptr<CorvelPinConfig> const& pin) { pinsIs(PinColour::yellow, pin); }
  void gpioGreenIs(Zel::Ptr<CorvelPinConfig> const& pin) { pinsIs(PinColour::green, pin); }
  void gpioRedIs(Zel::Ptr<CorvelPinConfig> const& pin) { pinsIs(PinColour::red, pin); }
  void gpioOrangeIs(Zel::Ptr<CorvelPinConfig> const& pin) { pinsIs(PinColour::orange, pin); }
  Zel::Ptr<CorvelPinConfig> gpioYellowDel(Zel::Name const& pin) {
    return pinsDel(PinColour::yellow, pin);
  }
  Zel::Ptr<CorvelPinConfig> gpioGreenDel(Zel::Name const& pin) {
    return pinsDel(PinColour::green, pin);
  }
  Zel::Ptr<CorvelPinConfig> gpioRedDel(Zel::Name const& pin) {
    return pinsDel(PinColour::red, pin);
  }
  Zel::Ptr<CorvelPinConfig> gpioOrangeDel(Zel::Name const& pin) {
    return pinsDel(PinColour::orange, pin);
  }

 private:
  Zel::Entity const* ledSystemConfig_ = nullptr;
  std::array<PinConfigs, kPinColourCount> pins_;
};

}  // namespace Hardware::Gpio
