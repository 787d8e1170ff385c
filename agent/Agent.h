// Pinlamp::Agent: the plug-in's agent object. At start-up it declares its mounts; once they are
// complete it fetches the LED mapping, LED configuration and pin output directories and hands
// them to its one ConfigReactor, which does all further work from notifications.
#pragma once

#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/model/LedSystemConfigDir.h"
#include "platform/warden/CAgent.h"
#include "platform/zel/Dir.h"
#include "reactor/ConfigReactor.h"

namespace Pinlamp {

class Agent : public Warden::CAgent {
 public:
  // Made through agentFactory (or the type's newEntityForDir) only.
  explicit Agent(Zel::Name name) : Warden::CAgent(std::move(name)) {}

  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;

  void doMountsComplete(Statedb::MountStatus status,
                        Zel::Ptr<Statedb::EntityManager> const& entityManager) override;
  void doInit() override;

  Zel::Ptr<Zel::Dir> const& gpioPinConfigDir() const noexcept { return gpioPinConfigDir_; }
  Zel::Ptr<GpioLedSystemConfigDir const> const& gpioLedSystemConfigDir() const noexcept {
    return gpioLedSystemConfigDir_;
  }
  Zel::Ptr<LedSystemConfigDir const> const& hwLedConfigDir() const noexcept {
    return hwLedConfigDir_;
  }
  Zel::Ptr<ConfigReactor> const& configReactor() const noexcept { return configReactor_; }

  // Instantiating setter: keeps the reactor when it was built from the same three values.
  Zel::Ptr<ConfigReactor> configReactorIs(
      Zel::Ptr<GpioLedSystemConfigDir const> const& gpioLedSystemConfigDir,
      Zel::Ptr<LedSystemConfigDir const> const& hwLedConfigDir,
      Zel::Ptr<Zel::Dir> const& gpioPinConfigDir);
  // Removes the reactor, with its notifications switched off, and hands it to the caller.
  Zel::Ptr<ConfigReactor> configReactorDel();

 protected:
  ~Agent() override;

 private:
  Zel::Ptr<Zel::Dir> gpioPinConfigDir_;
  Zel::Ptr<GpioLedSystemConfigDir const> gpioLedSystemConfigDir_;
  Zel::Ptr<LedSystemConfigDir const> hwLedConfigDir_;
  Zel::Ptr<ConfigReactor> configReactor_;
};

}  // namespace Pinlamp
