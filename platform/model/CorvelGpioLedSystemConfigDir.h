// Hardware::Gpio::CorvelGpioLedSystemConfigDir: an LED agent's own directory of per-LED pin
// configuration, keyed by LED name. Made by the agent from a name alone, outside any mount.
#pragma once

#include "platform/model/CorvelGpioLedConfig.h"
#include "platform/model/GpioLedsDir.h"

namespace Hardware::Gpio {

class CorvelGpioLedSystemConfigDir
    : public GpioLedsDir<CorvelGpioLedSystemConfigDir, CorvelGpioLedConfig> {
 public:
  explicit CorvelGpioLedSystemConfigDir(Zel::Name name) : GpioLedsDir(std::move(name)) {}
  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;

  using GpioLedsDir::gpioLedsIs;
  // The LED's configuration, made (empty, and pointing back at this directory) when absent.
  Zel::Ptr<CorvelGpioLedConfig> gpioLedsIs(Zel::Name const& name);
};

}  // namespace Hardware::Gpio
