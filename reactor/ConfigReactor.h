// Pinlamp::ConfigReactor: the centre of the agent. It follows the GPIO LED mapping directory and
// the LED configuration directory, keeps one per-LED reactor on every mapping, creates an LED's
// output pin configuration once its mapping is ready, and keeps exactly one GpioLedStateMachine
// per LED that is fully configured. Every event concerns one LED name and touches only that LED:
// nothing here scans all LEDs except the whole-directory resynchronisation.
#pragma once

#include "platform/model/CorvelGpioLedSystemConfigDir.h"
#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/model/LedSystemConfigDir.h"
#include "platform/zel/Dir.h"
#include "platform/zel/NameMap.h"
#include "platform/zel/OwnedNotifiee.h"
#include "platform/zel/Ptr.h"
#include "platform/zel/PtrInterface.h"
#include "statemachine/GpioLedStateMachine.h"

namespace Pinlamp {

using Hardware::Gpio::CorvelGpioLedSystemConfigDir;
using Hardware::Gpio::GpioLedConfig;
using Hardware::Gpio::GpioLedSystemConfigDir;
using Hardware::Led::LedSystemConfigDir;

class ConfigReactor : public Zel::PtrInterface {
 public:
  // Watches the mapping directory: one per-LED reactor per entry.
  class ZelGpioLedSystemConfigDir
      : public Zel::OwnedNotifiee<GpioLedSystemConfigDir::NotifieeConst, ConfigReactor> {
   public:
    using GpioLedSystemConfigDir::NotifieeConst::onGpioLeds;
    using OwnedNotifiee::OwnedNotifiee;
    void onGpioLeds(Zel::Name name) override;
    void onGpioLedszelImmediate() override;
    void notifierIs(Zel::Ptr<GpioLedSystemConfigDir const> const& directory) override;
  };

  // Watches the LED configuration directory: an LED configuration arriving or leaving decides
  // whether that LED has a state machine.
  class ZelHwLedConfigDir
      : public Zel::OwnedNotifiee<LedSystemConfigDir::NotifieeConst, ConfigReactor> {
   public:
    using LedSystemConfigDir::NotifieeConst::onLeds;
    using OwnedNotifiee::OwnedNotifiee;
    void onLeds(Zel::Name name) override;
    void onLedszelImmediate() override {}
  };

  // Watches one LED's mapping: builds its output pin configuration once it is ready.
  class ZelGpioLedConfig : public Zel::OwnedNotifiee<GpioLedConfig::NotifieeConst, ConfigReactor> {
   public:
    ZelGpioLedConfig(Zel::Ptr<GpioLedConfig const> const& mapping, ConfigReactor* owner);
    // The key in the owner's collection: the watched mapping's name.
    Zel::Name const& fwkKey() const noexcept { return key_; }
    void createLedConfig();
    void onReady() override;
    void notifierIs(Zel::Ptr<GpioLedConfig const> const& mapping) override;
    // Retiring the reactor cleans its LED up (pins, output entry, state machine).
    void zelDoZombieReactors(bool zombie) noexcept override;

   private:
    Zel::Name key_;
  };

  ConfigReactor(Zel::Ptr<GpioLedSystemConfigDir const> const& gpioLedSystemConfigDir,
                Zel::Ptr<LedSystemConfigDir const> const& hwLedConfigDir,
                Zel::Ptr<Zel::Dir> const& gpioPinConfigDir);

  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;

  // The three construction values: the two watched directories (null without a reactor) and the
  // pin-configuration output directory.
  Zel::Ptr<GpioLedSystemConfigDir const> gpioLedSystemConfigDir() const noexcept;
  Zel::Ptr<LedSystemConfigDir const> hwLedConfigDir() const noexcept;
  Zel::Ptr<Zel::Dir> const& gpioPinConfigDir() const noexcept { return gpioPinConfigDir_; }

  ZelGpioLedSystemConfigDir* gpioLedSystemConfigDirReactor() const noexcept {
    return gpioLedSystemConfigDir_.ptr();
  }
  ZelHwLedConfigDir* hwLedConfigDirReactor() const noexcept { return hwLedConfigDir_.ptr(); }
  void gpioLedSystemConfigDirIs(Zel::Ptr<GpioLedSystemConfigDir const> const& directory);
  void gpioLedSystemConfigDirDel();
  void hwLedConfigDirIs(Zel::Ptr<LedSystemConfigDir const> const& directory);
  void hwLedConfigDirDel();

  // Per-LED mapping reactors, keyed by LED name.
  Zel::NameMap<Zel::Ptr<ZelGpioLedConfig>> const& gpioLedConfig() const noexcept {
    return gpioLedConfig_;
  }
  Zel::Ptr<ZelGpioLedConfig> gpioLedConfig(Zel::Name const& name) const;
  Zel::Ptr<ZelGpioLedConfig> gpioLedConfigIs(Zel::Ptr<GpioLedConfig const> const& mapping);
  Zel::Ptr<GpioLedConfig const> gpioLedConfigDel(Zel::Name const& name);
  void gpioLedConfigDelAll();
  void gpioLedConfigNotify(Zel::Name const&) {}

  // State machines, keyed by LED name.
  Zel::NameMap<Zel::Ptr<GpioLedStateMachine>> const& gpioLedStateMachine() const noexcept {
    return gpioLedStateMachine_;
  }
  Zel::Ptr<GpioLedStateMachine> gpioLedStateMachine(Zel::Name const& name) const;
  Zel::Ptr<GpioLedStateMachine> gpioLedStateMachineIs(
      Zel::Ptr<CorvelGpioLedConfig> const& corvelGpioLedConfig,
      Zel::Ptr<LedConfig const> const& hwLedConfig);
  Zel::Ptr<GpioLedStateMachine> gpioLedStateMachineDel(Zel::Name const& name);
  void gpioLedStateMachineDelAll();
  void gpioLedStateMachineNotify(Zel::Name const&) {}

  // The agent-local "ledSystem" directory of per-LED output configuration.
  Zel::Ptr<CorvelGpioLedSystemConfigDir> const& corvelLedSystemConfig() const noexcept {
    return corvelLedSystemConfig_;
  }
  Zel::Ptr<CorvelGpioLedSystemConfigDir> corvelLedSystemConfigIs(Zel::Name const& name);
  Zel::Ptr<CorvelGpioLedSystemConfigDir> corvelLedSystemConfigDel();
  void handleInitialized();

  // The single rule that decides whether an LED has a state machine.
  void createDriver(Zel::Name const& name);
  void handleGpioConfigCleanup(Zel::Name const& name);
  void zel_handleGpioLedConfig(ZelGpioLedConfig* reactor);

  void hasNotificationActiveIs(bool active) override;
  void zelDoZombieReactors(bool zombie) noexcept override;

 protected:
  ~ConfigReactor() override;

 private:
  // Adds a reactor for every mapping, then removes the reactors whose mapping is gone.
  void resynchronise();

  Zel::Ptr<ZelGpioLedSystemConfigDir> gpioLedSystemConfigDir_;
  Zel::Ptr<ZelHwLedConfigDir> hwLedConfigDir_;
  Zel::Ptr<Zel::Dir> gpioPinConfigDir_;
  Zel::NameMap<Zel::Ptr<GpioLedStateMachine>> gpioLedStateMachine_;
  Zel::NameMap<Zel::Ptr<ZelGpioLedConfig>> gpioLedConfig_;
  Zel::Ptr<CorvelGpioLedSystemConfigDir> corvelLedSystemConfig_;
  bool membersSwitchedOff_ = false;
};

// Allocates a reactor (a tracked framework allocation) with notification on.
Zel::Ptr<ConfigReactor> ConfigReactorIs(
    Zel::Ptr<GpioLedSystemConfigDir const> const& gpioLedSystemConfigDir,
    Zel::Ptr<LedSystemConfigDir const> const& hwLedConfigDir,
    Zel::Ptr<Zel::Dir> const& gpioPinConfigDir);

}  // namespace Pinlamp
