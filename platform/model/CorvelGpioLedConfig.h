// Hardware::Gpio::CorvelGpioLedConfig: the pin configuration entities of one LED's colour
// elements, written by the LED agent. The pins themselves live in the output pin directory;
// these collections hold references to them, keyed by pin name.
#pragma once

#include "platform/model/CorvelPinConfig.h"
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

  PinConfigs const& gpioYellow() const noexcept { return yellow_; }
  PinConfigs const& gpioGreen() const noexcept { return green_; }
  PinConfigs const& gpioRed() const noexcept { return red_; }
  PinConfigs const& gpioOrange() const noexcept { return orange_; }
  // Each adds the pin under its own name; a null pin is a range error ("null ValidPtr").
  void gpioYellowIs(Zel::Ptr<CorvelPinConfig> const& pin);
  void gpioGreenIs(Zel::Ptr<CorvelPinConfig> const& pin);
  void gpioRedIs(Zel::Ptr<CorvelPinConfig> const& pin);
  void gpioOrangeIs(Zel::Ptr<CorvelPinConfig> const& pin);
  void gpioYellowDel(Zel::Name const& pin);
  void gpioGreenDel(Zel::Name const& pin);
  void gpioRedDel(Zel::Name const& pin);
  void gpioOrangeDel(Zel::Name const& pin);

 private:
  void pinIs(PinConfigs& pins, Zel::AttributeId attribute, Zel::Ptr<CorvelPinConfig> const& pin);
  void pinDel(PinConfigs& pins, Zel::AttributeId attribute, Zel::Name const& pin);

  Zel::Entity const* ledSystemConfig_ = nullptr;
  PinConfigs yellow_;
  PinConfigs green_;
  PinConfigs red_;
  PinConfigs orange_;
};

}  // namespace Hardware::Gpio
