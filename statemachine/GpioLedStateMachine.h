// Pinlamp::GpioLedStateMachine: one LED's driver. It watches the LED's configuration, turns each
// light setting into values of the LED's colour pins (all dark first, then the lit colours), and
// flashes the LED from the activity manager's shared clock, every machine on its own reactor and
// wake-up time. A tick costs the LED's own pins and one timer re-arm; nothing here grows with the
// number of LEDs.
#pragma once

#include "platform/model/CorvelGpioLedConfig.h"
#include "platform/model/LedConfig.h"
#include "platform/zel/Clock.h"
#include "platform/zel/OwnedNotifiee.h"
#include "platform/zel/Ptr.h"
#include "platform/zel/PtrInterface.h"

namespace Pinlamp {

using Hardware::Gpio::CorvelGpioLedConfig;
using Hardware::Gpio::U32;
using Hardware::Led::LedConfig;

class GpioLedStateMachine : public Zel::PtrInterface {
 public:
  // Reacts to light-setting changes of the LED's configuration.
  class ZelHwLedConfig : public Zel::OwnedNotifiee<LedConfig::NotifieeConst, GpioLedStateMachine> {
   public:
    using OwnedNotifiee::OwnedNotifiee;
    void onLightSetting() override;
  };

  // The machine's flash timer on the shared clock.
  class ZelClock : public Zel::OwnedNotifiee<Zel::Clock::NotifieeConst, GpioLedStateMachine> {
   public:
    using OwnedNotifiee::OwnedNotifiee;
    void onTime() override;
  };

  // Made by GpioLedStateMachineIs only.
  GpioLedStateMachine(Zel::Ptr<CorvelGpioLedConfig> const& corvelGpioLedConfig,
                      Zel::Ptr<LedConfig const> const& hwLedConfig);

  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;

  // The key in the configuration reactor's collection: the LED configuration's name (empty while
  // the machine has none).
  Zel::Name name() const;

  Zel::Ptr<CorvelGpioLedConfig> const& corvelGpioLedConfig() const noexcept {
    return corvelGpioLedConfig_;
  }

  Zel::Ptr<LedConfig const> hwLedConfig() const noexcept;
  void hwLedConfigIs(Zel::Ptr<LedConfig const> const& hwLedConfig);
  Zel::Ptr<LedConfig const> hwLedConfigDel();

  Zel::Ptr<Zel::Clock const> clock() const noexcept;
  ZelClock* clockReactor() const noexcept { return clock_.ptr(); }
  void clockIs(Zel::Ptr<Zel::Clock const> const& clock);
  Zel::Ptr<Zel::Clock const> clockDel();

  bool flashingState() const noexcept { return flashingState_; }
  void flashingStateIs(bool flashingState) noexcept { flashingState_ = flashingState; }
  bool initialized() const noexcept { return initialized_; }
  void initializedIs(bool initialized) noexcept { initialized_ = initialized; }

  void handleInitialized();
  void handleHwLedConfig();
  void handleLedSystemConfig(Zel::Name ledSystemConfig, Led::LightSetting const& setting);
  void handleClockTimeout();

  // The pin writers: write `value` to every pin of one colour, tracing each real change.
  void handleCorvelGpioYellow(Zel::Ptr<CorvelGpioLedConfig> const& led, U32 value);
  void handleCorvelGpioGreen(Zel::Ptr<CorvelGpioLedConfig> const& led, U32 value);
  void handleCorvelGpioRed(Zel::Ptr<CorvelGpioLedConfig> const& led, U32 value);
  void handleCorvelGpioOrange(Zel::Ptr<CorvelGpioLedConfig> const& led, U32 value);

  // Pass the value on to both nested reactors; no-ops when unchanged.
  void hasNotificationActiveIs(bool active) override;
  void zelDoZombieReactors(bool zombie) noexcept override;

 protected:
  ~GpioLedStateMachine() override;

 private:
  Zel::Ptr<CorvelGpioLedConfig> corvelGpioLedConfig_;
  Zel::Ptr<ZelHwLedConfig> hwLedConfig_;
  Zel::Ptr<ZelClock> clock_;
  bool flashingState_ = false;
  bool initialized_ = false;
};

// Allocates a machine (a tracked framework allocation) and turns its notifications on; a range
// error "null ValidPtr" if no object results.
Zel::Ptr<GpioLedStateMachine> GpioLedStateMachineIs(
    Zel::Ptr<CorvelGpioLedConfig> const& corvelGpioLedConfig,
    Zel::Ptr<LedConfig const> const& hwLedConfig);

}  // namespace Pinlamp
