// Hardware::Gpio::GpioLedSystemConfigDir: the LED-to-GPIO mapping of every LED, keyed by LED name.
#pragma once

#include "platform/model/GpioLedConfig.h"
#include "platform/model/GpioLedsDir.h"

namespace Hardware::Gpio {

class GpioLedSystemConfigDir : public GpioLedsDir<GpioLedSystemConfigDir, GpioLedConfig> {
 public:
  explicit GpioLedSystemConfigDir(Zel::Name name) : GpioLedsDir(std::move(name)) {}
  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;

  using GpioLedsDir::gpioLedsIs;
  // The LED's mapping, made empty (and not ready) when absent.
  Zel::Ptr<GpioLedConfig> gpioLedsIs(Zel::Name const& name);
};

}  // namespace Hardware::Gpio
