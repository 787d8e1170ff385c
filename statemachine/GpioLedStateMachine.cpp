#include "statemachine/GpioLedStateMachine.h"

#include <cstdint>
#include <limits>

#include "platform/zel/ActivityManager.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Assert.h"
#include "platform/zel/Exception.h"
#include "platform/zel/TypeNode.h"
#include "trace/Trace.h"

// These preconditions guard writes to hardware state: they must stop the process in every build,
// so they do not go through assert(), which release builds compile away.
#define PINLAMP_REQUIRE(condition, text)                                                        \
  do {                                                                                          \
    if (!(condition)) ::Zel::assertionFailed((text), "Pinlamp", __LINE__, __PRETTY_FUNCTION__); \
  } while (0)

namespace Pinlamp {

namespace {

// The line numbers that this file's trace records carry. They are part of the trace output
// format, which readers of the trace match on, so they are fixed rather than taken from where
// the calls happen to sit in this file.
namespace TraceLine {
constexpr std::uint32_t handleInitialized = 212;
constexpr std::uint32_t handleHwLedConfig = 224;
constexpr std::uint32_t handleLedSystemConfig = 237;
constexpr std::uint32_t clockTimeout = 260;
constexpr std::uint32_t flashPhase = 274;
constexpr std::uint32_t yellowWriter = 286;
constexpr std::uint32_t greenWriter = 291;
constexpr std::uint32_t redWriter = 295;
constexpr std::uint32_t orangeWriter = 300;
}  // namespace TraceLine

// Any wake-up time beyond the largest finite double means the timer is disarmed.
constexpr double kLargestFiniteTime = std::numeric_limits<double>::max();

bool isDisarmed(double wakeUpTime) {
  return wakeUpTime > kLargestFiniteTime;
}

// Turns a nested reactor into a zombie, cuts it loose from its machine and lets it go. A reactor
// that is still being delivered to stays alive until the delivery ends, but reacts to nothing.
template <class Reactor>
void retire(Zel::Ptr<Reactor>& reactor) {
  if (!reactor) return;
  reactor->zelDoZombieReactors(true);
  reactor->ownerIs(nullptr);
  reactor = nullptr;
}

using Hardware::Gpio::PinColour;
using PinWriterMember = void (GpioLedStateMachine::*)(Zel::Ptr<CorvelGpioLedConfig> const&, U32);

// The four pin writers, in the order in which every caller runs them.
struct PinWriter {
  PinColour colour;
  bool Led::LightSetting::*lit;
  PinWriterMember write;
  char const* function;  // names the writer in its records
  char const* pinLabel;  // opens each change record
  std::uint32_t line;    // every record of the colour, so colours stay told apart by line too
};
constexpr PinWriter kPinWriters[] = {
    {PinColour::yellow, &Led::LightSetting::yellow, &GpioLedStateMachine::handleCorvelGpioYellow,
     "handleCorvelGpioYellow", "Corvel Yellow Pin: ", TraceLine::yellowWriter},
    {PinColour::green, &Led::LightSetting::green, &GpioLedStateMachine::handleCorvelGpioGreen,
     "handleCorvelGpioGreen", "Corvel Green Pin: ", TraceLine::greenWriter},
    {PinColour::red, &Led::LightSetting::red, &GpioLedStateMachine::handleCorvelGpioRed,
     "handleCorvelGpioRed", "Corvel Red Pin: ", TraceLine::redWriter},
    {PinColour::orange, &Led::LightSetting::orange, &GpioLedStateMachine::handleCorvelGpioOrange,
     "handleCorvelGpioOrange", "Corvel Orange Pin: ", TraceLine::orangeWriter},
};

// One colour of one LED: writes `value` to every pin, tracing each pin whose value really changed.
void writePins(Zel::Ptr<CorvelGpioLedConfig> const& led, U32 value, PinColour colour) {
  PinWriter const& writer = kPinWriters[Hardware::Gpio::indexOf(colour)];
  std::uint32_t const line = writer.line;
  if (!led) Zel::assertionFailed("led", "Pinlamp", line, writer.function);
  PINLAMP_TRACE(9, line, writer.function, writer.function << " " << led->name());
  Hardware::Gpio::PinConfigs const& pins = led->pins(colour);
  // Walked by position, not by copying each member: a tick runs this for every pin it writes.
  for (auto it = pins.begin(); it != pins.end(); ++it) {
    Hardware::Gpio::CorvelPinConfig* pin = it.value().ptr();
    if (!pin) continue;
    U32 const oldValue = pin->value();
    if (value == oldValue) continue;
    pin->valueIs(value);
    PINLAMP_TRACE(6, line, writer.function,
                  writer.pinLabel << pin->name() << "  OldValue: " << oldValue
                                  << " NewValue: " << pin->value());
  }
}

// Every colour's pins to `value`, each through its public writer as any caller of it would.
void writeEveryColour(GpioLedStateMachine& machine, Zel::Ptr<CorvelGpioLedConfig> const& led,
                      U32 value) {
  for (PinWriter const& writer : kPinWriters) (machine.*writer.write)(led, value);
}

// The pins of the colours that `setting` lights to 1; the others are left alone.
void lightColours(GpioLedStateMachine& machine, Zel::Ptr<CorvelGpioLedConfig> const& led,
                  Led::LightSetting const& setting) {
  for (PinWriter const& writer : kPinWriters) {
    if (setting.*writer.lit) (machine.*writer.write)(led, 1);
  }
}

}  // namespace

// --- Nested reactors -----------------------------------------------------------------------------

void GpioLedStateMachine::ZelHwLedConfig::onLightSetting() {
  if (owner() && isLive()) owner()->handleHwLedConfig();
}

void GpioLedStateMachine::ZelClock::onTime() {
  if (owner() && isLive()) owner()->handleClockTimeout();
}

// --- Life ----------------------------------------------------------------------------------------

GpioLedStateMachine::GpioLedStateMachine(Zel::Ptr<CorvelGpioLedConfig> const& corvelGpioLedConfig,
                                         Zel::Ptr<LedConfig const> const& hwLedConfig)
    : corvelGpioLedConfig_(corvelGpioLedConfig) {
  if (hwLedConfig) hwLedConfig_ = Zel::allocate<ZelHwLedConfig>(hwLedConfig, this);
  handleInitialized();
}

GpioLedStateMachine::~GpioLedStateMachine() {
  // No pin is written here: the LED keeps showing what it showed last, and removing the pin
  // configuration is its owner's business.
  retire(clock_);
  retire(hwLedConfig_);
}

Zel::Ptr<GpioLedStateMachine> GpioLedStateMachineIs(
    Zel::Ptr<CorvelGpioLedConfig> const& corvelGpioLedConfig,
    Zel::Ptr<LedConfig const> const& hwLedConfig) {
  Zel::Ptr<GpioLedStateMachine> machine =
      Zel::allocate<GpioLedStateMachine>(corvelGpioLedConfig, hwLedConfig);
  if (!machine) Zel::throwRangeException("null ValidPtr");
  return machine;
}

Zel::TypeNode const& GpioLedStateMachine::type() {
  static Zel::TypeNode const node("Pinlamp::GpioLedStateMachine");
  return node;
}

Zel::TypeNode const* GpioLedStateMachine::fwkType() const {
  return &type();
}

void GpioLedStateMachine::hasNotificationActiveIs(bool active) {
  if (hasNotificationActive() == active) return;
  PtrInterface::hasNotificationActiveIs(active);
  if (hwLedConfig_) hwLedConfig_->hasNotificationActiveIs(active);
  if (clock_) clock_->hasNotificationActiveIs(active);
}

void GpioLedStateMachine::zelDoZombieReactors(bool zombie) noexcept {
  if (isMarkedForDeletion() == zombie) return;
  if (hwLedConfig_) hwLedConfig_->zelDoZombieReactors(zombie);
  if (clock_) clock_->zelDoZombieReactors(zombie);
  PtrInterface::zelDoZombieReactors(zombie);
}

// --- Attributes ----------------------------------------------------------------------------------

Zel::Name GpioLedStateMachine::name() const {
  LedConfig const* ledConfig = hwLedConfig_ ? hwLedConfig_->notifier() : nullptr;
  return ledConfig ? ledConfig->name() : Zel::Name();
}

Zel::Ptr<LedConfig const> GpioLedStateMachine::hwLedConfig() const noexcept {
  return hwLedConfig_ ? hwLedConfig_->notifierPtr() : nullptr;
}

void GpioLedStateMachine::hwLedConfigIs(Zel::Ptr<LedConfig const> const& hwLedConfig) {
  if (hwLedConfig == this->hwLedConfig()) return;
  if (!hwLedConfig) {
    retire(hwLedConfig_);
  } else if (hwLedConfig_) {
    hwLedConfig_->notifierIs(hwLedConfig);
  } else {
    hwLedConfig_ = Zel::allocate<ZelHwLedConfig>(hwLedConfig, this);
  }
}

Zel::Ptr<LedConfig const> GpioLedStateMachine::hwLedConfigDel() {
  Zel::Ptr<LedConfig const> watched = hwLedConfig();
  retire(hwLedConfig_);
  return watched;
}

Zel::Ptr<Zel::Clock const> GpioLedStateMachine::clock() const noexcept {
  return clock_ ? clock_->notifierPtr() : nullptr;
}

void GpioLedStateMachine::clockIs(Zel::Ptr<Zel::Clock const> const& clock) {
  if (clock == this->clock()) return;
  if (!clock) {
    retire(clock_);
  } else if (clock_) {
    clock_->notifierIs(clock);
  } else {
    clock_ = Zel::allocate<ZelClock>(clock, this);
  }
}

Zel::Ptr<Zel::Clock const> GpioLedStateMachine::clockDel() {
  Zel::Ptr<Zel::Clock const> watched = clock();
  retire(clock_);
  return watched;
}

// --- Decisions -----------------------------------------------------------------------------------

void GpioLedStateMachine::handleInitialized() {
  PINLAMP_TRACE(6, TraceLine::handleInitialized, "handleInitialized",
                "handleInitialized for " << name());
  if (initialized_) return;
  flashingStateIs(false);
  clockIs(Zel::activityManager()->clock());
  PINLAMP_REQUIRE(clock_, "clock_");
  clock_->timeMinIs(Zel::Clock::kNever);
  initialized_ = true;
  handleHwLedConfig();
}

void GpioLedStateMachine::handleHwLedConfig() {
  if (!initialized_) return;
  PINLAMP_TRACE(7, TraceLine::handleHwLedConfig, "handleHwLedConfig",
                "handleHwLedConfig " << name());
  // A machine made before its LED configuration has nothing to show yet.
  LedConfig const* ledConfig = hwLedConfig_ ? hwLedConfig_->notifier() : nullptr;
  if (!ledConfig) return;
  Led::LightSetting const setting = ledConfig->lightSetting();
  handleLedSystemConfig(ledConfig->name(), setting);
}

// The LED name argument only identifies the caller's view; the records name the output
// configuration instead.
void GpioLedStateMachine::handleLedSystemConfig(Zel::Name /*ledSystemConfig*/,
                                                Led::LightSetting const& setting) {
  if (!initialized_) return;
  PINLAMP_TRACE(8, TraceLine::handleLedSystemConfig, "handleLedSystemConfig",
                "handleLedSystemConfig "
                    << (corvelGpioLedConfig_ ? corvelGpioLedConfig_->name() : Zel::Name()) << " "
                    << setting << "Config: "
                    << (corvelGpioLedConfig_ ? corvelGpioLedConfig_->ledSystemConfig() : nullptr));
  if (setting.flashInterval == 0.0) {
    if (!corvelGpioLedConfig_) return;
    // Every colour goes dark before the lit ones come on, so no stale colour survives a change.
    writeEveryColour(*this, corvelGpioLedConfig_, 0);
    if (!corvelGpioLedConfig_) return;
    lightColours(*this, corvelGpioLedConfig_, setting);
    // A timer still running from an earlier flashing setting stops itself at its next tick.
    return;
  }
  PINLAMP_REQUIRE(clock_, "clock_");
  // A running cadence is kept: the next tick reads the new colours and interval itself.
  if (isDisarmed(clock_->timeMin())) {
    clock_->timeMinIs(Zel::System::currentTime() + setting.flashInterval);
  }
}

void GpioLedStateMachine::handleClockTimeout() {
  if (!initialized_) return;
  PINLAMP_TRACE(8, TraceLine::clockTimeout, "handleClockTimeout",
                "handleClockTimeout for " << name());
  PINLAMP_REQUIRE(clock_, "clock_");
  // The phase flips on every tick, the stopping one included, so a later flashing period may
  // start dark: the phase is never reset after initialisation.
  flashingStateIs(!flashingState_);
  // Its owner removes a machine together with its LED configuration; should a tick still come in
  // between, the LED counts as steady, so the timer stops instead of reading a missing setting.
  LedConfig const* ledConfig = hwLedConfig_ ? hwLedConfig_->notifier() : nullptr;
  Led::LightSetting const setting = ledConfig ? ledConfig->lightSetting() : Led::LightSetting();
  if (setting.flashInterval == 0.0) {
    // The steady pattern was written when the steady setting arrived.
    clock_->timeMinIs(Zel::Clock::kNever);
    return;
  }
  PINLAMP_TRACE(8, TraceLine::flashPhase, "handleClockTimeout",
                "Led " << name() << " is now " << static_cast<int>(flashingState_));
  writeEveryColour(*this, corvelGpioLedConfig_, 0);
  if (flashingState_) lightColours(*this, corvelGpioLedConfig_, setting);
  // Paced from when this tick ran, not from when it was due: a late tick shifts the rest.
  clock_->timeMinIs(Zel::System::currentTime() + setting.flashInterval);
}

// --- Pin writers ---------------------------------------------------------------------------------

void GpioLedStateMachine::handleCorvelGpioYellow(Zel::Ptr<CorvelGpioLedConfig> const& led,
                                                 U32 value) {
  writePins(led, value, PinColour::yellow);
}

void GpioLedStateMachine::handleCorvelGpioGreen(Zel::Ptr<CorvelGpioLedConfig> const& led,
                                                U32 value) {
  writePins(led, value, PinColour::green);
}

void GpioLedStateMachine::handleCorvelGpioRed(Zel::Ptr<CorvelGpioLedConfig> const& led, U32 value) {
  writePins(led, value, PinColour::red);
}

void GpioLedStateMachine::handleCorvelGpioOrange(Zel::Ptr<CorvelGpioLedConfig> const& led,
                                                 U32 value) {
  writePins(led, value, PinColour::orange);
}

}  // namespace Pinlamp
