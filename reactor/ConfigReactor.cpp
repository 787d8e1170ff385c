#include "reactor/ConfigReactor.h"

#include <cstdint>

#include "platform/model/DatabasePaths.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Exception.h"
#include "platform/zel/TypeNode.h"
#include "platform/zel/ValidPtr.h"
#include "trace/Trace.h"

namespace Pinlamp {

using Hardware::Gpio::PinColour;

namespace {

// The line numbers that this file's trace records carry. They are part of the trace output
// format, which readers of the trace match on, so they are fixed rather than taken from where
// the calls happen to sit in this file.
namespace TraceLine {
constexpr std::uint32_t createDriver = 225;
constexpr std::uint32_t creatingStateMachine = 234;
constexpr std::uint32_t deletingStateMachine = 238;
constexpr std::uint32_t createLedConfig = 246;
constexpr std::uint32_t createdYellowPin = 263;
constexpr std::uint32_t createdGreenPin = 273;
constexpr std::uint32_t createdRedPin = 283;
constexpr std::uint32_t createdOrangePin = 293;
constexpr std::uint32_t handleGpioConfigCleanup = 302;
}  // namespace TraceLine

// What createLedConfig records for each pin it adds, per colour.
struct CreatedPinTrace {
  PinColour colour;
  char const* text;
  std::uint32_t line;
};
constexpr CreatedPinTrace kCreatedPinTraces[] = {
    {PinColour::yellow, "created yellow pin '", TraceLine::createdYellowPin},
    {PinColour::green, "created green pin '", TraceLine::createdGreenPin},
    {PinColour::red, "created red pin '", TraceLine::createdRedPin},
    {PinColour::orange, "created orange pin '", TraceLine::createdOrangePin},
};

Zel::String reinstantiationText(char const* attribute, void const* newValue,
                                void const* currentValue) {
  return Zel::String(
             "Reinstantiating the pointer interface where constructor parameter "
             "attribute ") +
         attribute + " has a different value of " + Zel::valueToStrepOfRawPtr(newValue) +
         " than the current value of " + Zel::valueToStrepOfRawPtr(currentValue) + " not allowed";
}
}  // namespace

Zel::Ptr<ConfigReactor> ConfigReactorIs(
    Zel::Ptr<GpioLedSystemConfigDir const> const& gpioLedSystemConfigDir,
    Zel::Ptr<LedSystemConfigDir const> const& hwLedConfigDir,
    Zel::Ptr<Zel::Dir> const& gpioPinConfigDir) {
  Zel::Ptr<ConfigReactor> reactor =
      Zel::allocate<ConfigReactor>(gpioLedSystemConfigDir, hwLedConfigDir, gpioPinConfigDir);
  if (!reactor) Zel::throwRangeException("null ValidPtr");
  return reactor;
}

Zel::TypeNode const& ConfigReactor::type() {
  static Zel::TypeNode const node("Pinlamp::ConfigReactor");
  return node;
}

Zel::TypeNode const* ConfigReactor::fwkType() const {
  return &type();
}

// --- construction and destruction -----------------------------------------------------------

ConfigReactor::ConfigReactor(Zel::Ptr<GpioLedSystemConfigDir const> const& gpioLedSystemConfigDir,
                             Zel::Ptr<LedSystemConfigDir const> const& hwLedConfigDir,
                             Zel::Ptr<Zel::Dir> const& gpioPinConfigDir) {
  if (gpioLedSystemConfigDir) {
    gpioLedSystemConfigDir_ =
        Zel::allocate<ZelGpioLedSystemConfigDir>(gpioLedSystemConfigDir, this);
  }
  if (hwLedConfigDir) hwLedConfigDir_ = Zel::allocate<ZelHwLedConfigDir>(hwLedConfigDir, this);
  gpioPinConfigDir_ = gpioPinConfigDir;
  // The output directory exists before any LED is looked at, so every later step can rely on it.
  handleInitialized();
  if (!gpioLedSystemConfigDir) return;
  resynchronise();
}

ConfigReactor::~ConfigReactor() {
  zelDoZombieReactors(true);
  if (gpioLedSystemConfigDir_) gpioLedSystemConfigDir_->ownerIs(nullptr);
  if (hwLedConfigDir_) hwLedConfigDir_->ownerIs(nullptr);
  for (auto member : gpioLedConfig_) member.value->ownerIs(nullptr);
  gpioLedStateMachineDelAll();
  corvelLedSystemConfigDel();
  gpioLedConfig_.clear();
  gpioLedStateMachine_.clear();
  gpioPinConfigDir_ = nullptr;
  hwLedConfigDir_ = nullptr;
  gpioLedSystemConfigDir_ = nullptr;
}

void ConfigReactor::zelDoZombieReactors(bool zombie) noexcept {
  if (isMarkedForDeletion() == zombie) return;
  if (gpioLedSystemConfigDir_) gpioLedSystemConfigDir_->zelDoZombieReactors(zombie);
  if (hwLedConfigDir_) hwLedConfigDir_->zelDoZombieReactors(zombie);
  for (auto member : gpioLedConfig_) member.value->zelDoZombieReactors(zombie);
  markedForDeletionFlagIs(zombie);
}

void ConfigReactor::hasNotificationActiveIs(bool active) {
  if (hasNotificationActive() == active) return;
  notificationActiveFlagIs(active);
  if (gpioLedSystemConfigDir_) gpioLedSystemConfigDir_->hasNotificationActiveIs(active);
  if (hwLedConfigDir_) hwLedConfigDir_->hasNotificationActiveIs(active);
  // Members are made active, so only members switched off with the reactor need switching back
  // on: switching on a freshly built reactor does not walk every LED a second time.
  if (active && !membersSwitchedOff_) return;
  membersSwitchedOff_ = !active;
  for (auto member : gpioLedStateMachine_) member.value->hasNotificationActiveIs(active);
  for (auto member : gpioLedConfig_) member.value->hasNotificationActiveIs(active);
}

// --- directory reactors ---------------------------------------------------------------------

Zel::Ptr<GpioLedSystemConfigDir const> ConfigReactor::gpioLedSystemConfigDir() const noexcept {
  return gpioLedSystemConfigDir_ ? gpioLedSystemConfigDir_->notifierPtr() : nullptr;
}

Zel::Ptr<LedSystemConfigDir const> ConfigReactor::hwLedConfigDir() const noexcept {
  return hwLedConfigDir_ ? hwLedConfigDir_->notifierPtr() : nullptr;
}

void ConfigReactor::gpioLedSystemConfigDirIs(
    Zel::Ptr<GpioLedSystemConfigDir const> const& directory) {
  if (gpioLedSystemConfigDir_) {
    gpioLedSystemConfigDir_->notifierIs(directory);
    return;
  }
  if (!directory) return;
  gpioLedSystemConfigDir_ = Zel::allocate<ZelGpioLedSystemConfigDir>(directory, this);
  resynchronise();
}

void ConfigReactor::gpioLedSystemConfigDirDel() {
  if (!gpioLedSystemConfigDir_) return;
  gpioLedSystemConfigDir_->ownerIs(nullptr);
  gpioLedSystemConfigDir_ = nullptr;
}

void ConfigReactor::hwLedConfigDirIs(Zel::Ptr<LedSystemConfigDir const> const& directory) {
  if (hwLedConfigDir_) {
    hwLedConfigDir_->notifierIs(directory);
    return;
  }
  if (directory) hwLedConfigDir_ = Zel::allocate<ZelHwLedConfigDir>(directory, this);
}

void ConfigReactor::hwLedConfigDirDel() {
  if (!hwLedConfigDir_) return;
  hwLedConfigDir_->ownerIs(nullptr);
  hwLedConfigDir_ = nullptr;
}

void ConfigReactor::resynchronise() {
  GpioLedSystemConfigDir const& directory = Zel::validPtr(gpioLedSystemConfigDir_->notifier());
  for (auto member : directory.gpioLeds()) gpioLedConfigIs(member.value);
  for (auto member : gpioLedConfig_) {
    if (!directory.gpioLeds().contains(member.key)) gpioLedConfigDel(member.key);
  }
}

void ConfigReactor::ZelGpioLedSystemConfigDir::onGpioLeds(Zel::Name name) {
  GpioLedSystemConfigDir const* directory = notifier();
  if (!directory || !owner()) return;
  if (Zel::Ptr<GpioLedConfig> mapping = directory->gpioLeds(name)) {
    owner()->gpioLedConfigIs(mapping);
  } else {
    owner()->gpioLedConfigDel(name);
  }
}

void ConfigReactor::ZelGpioLedSystemConfigDir::onGpioLedszelImmediate() {
  if (!notifier() || !owner()) return;
  owner()->resynchronise();
}

void ConfigReactor::ZelGpioLedSystemConfigDir::notifierIs(
    Zel::Ptr<GpioLedSystemConfigDir const> const& directory) {
  if (directory.ptr() == notifier()) return;
  GpioLedSystemConfigDir::NotifieeConst::notifierIs(directory);
  // A null directory removes nothing: the LEDs stay as they are until a directory returns.
  if (directory && owner()) owner()->resynchronise();
}

void ConfigReactor::ZelHwLedConfigDir::onLeds(Zel::Name name) {
  if (isMarkedForDeletion() || !owner()) return;
  owner()->createDriver(name);
}

// --- per-LED mapping reactors ---------------------------------------------------------------

Zel::Ptr<ConfigReactor::ZelGpioLedConfig> ConfigReactor::gpioLedConfig(
    Zel::Name const& name) const {
  auto const* reactor = gpioLedConfig_.find(name);
  return reactor ? *reactor : nullptr;
}

Zel::Ptr<ConfigReactor::ZelGpioLedConfig> ConfigReactor::gpioLedConfigIs(
    Zel::Ptr<GpioLedConfig const> const& mapping) {
  if (!mapping) {
    Zel::throwRangeException(
        "null _gpioLedConfig parameter to mutator for Pinlamp::ConfigReactor::gpioLedConfig "
        "not allowed\"");
  }
  Zel::Ptr<ZelGpioLedConfig> reactor = gpioLedConfig(mapping->name());
  if (!reactor) {
    // The constructor builds a ready mapping's output before the reactor joins the collection.
    reactor = Zel::allocate<ZelGpioLedConfig>(mapping, this);
    reactor->hasNotificationActiveIs(true);
    gpioLedConfig_.insert(reactor->fwkKey(), reactor);
    gpioLedConfigNotify(reactor->fwkKey());
  } else if (reactor->notifier() == mapping.ptr()) {
    return reactor;
  } else {
    reactor->notifierIs(mapping);
  }
  reactor->zelDoZombieReactors(isMarkedForDeletion());
  return reactor;
}

Zel::Ptr<GpioLedConfig const> ConfigReactor::gpioLedConfigDel(Zel::Name const& name) {
  Zel::Ptr<ZelGpioLedConfig> reactor = gpioLedConfig_.take(name);
  if (!reactor) return nullptr;
  gpioLedConfigNotify(name);
  reactor->zelDoZombieReactors(true);
  reactor->ownerIs(nullptr);
  Zel::Ptr<GpioLedConfig const> mapping = reactor->notifierPtr();
  reactor->isRegisteredNotifieeIs(false);
  return mapping;
}

void ConfigReactor::gpioLedConfigDelAll() {
  for (auto member : gpioLedConfig_) gpioLedConfigDel(member.key);
}

void ConfigReactor::zel_handleGpioLedConfig(ZelGpioLedConfig* reactor) {
  handleGpioConfigCleanup(reactor->fwkKey());
}

ConfigReactor::ZelGpioLedConfig::ZelGpioLedConfig(Zel::Ptr<GpioLedConfig const> const& mapping,
                                                  ConfigReactor* owner)
    : OwnedNotifiee(mapping, owner), key_(mapping ? mapping->name() : Zel::Name()) {
  if (mapping) createLedConfig();
}

void ConfigReactor::ZelGpioLedConfig::onReady() {
  if (isMarkedForDeletion()) return;
  createLedConfig();
}

void ConfigReactor::ZelGpioLedConfig::notifierIs(Zel::Ptr<GpioLedConfig const> const& mapping) {
  if (mapping.ptr() == notifier()) return;
  GpioLedConfig::NotifieeConst::notifierIs(mapping);
  if (mapping && !isMarkedForDeletion()) createLedConfig();
  isRegisteredNotifieeIs(true);
}

void ConfigReactor::ZelGpioLedConfig::zelDoZombieReactors(bool zombie) noexcept {
  if (isMarkedForDeletion() == zombie) return;
  if (notifier()) hasNotificationActiveIs(!zombie);
  if (owner()) owner()->zel_handleGpioLedConfig(this);
  markedForDeletionFlagIs(zombie);
}

void ConfigReactor::ZelGpioLedConfig::createLedConfig() {
  GpioLedConfig const& mapping = Zel::validPtr(notifier());
  PINLAMP_TRACE(9, TraceLine::createLedConfig, "createLedConfig",
                "createLedConfig"
                    << " " << mapping.name());
  if (!mapping.ready()) return;
  ConfigReactor& owner = Zel::validPtr(this->owner());
  Zel::Ptr<CorvelGpioLedConfig> output =
      Zel::validPtr(owner.corvelLedSystemConfig_).gpioLedsIs(mapping.name());
  Zel::Dir& pins = Zel::validPtr(owner.gpioPinConfigDir_);
  static Zel::String const pinType("Hardware::Gpio::CorvelPinConfig");
  // The entry made, or the one already there under that name, whatever its type.
  auto pinFor = [&pins](Zel::Name const& pinName) {
    return Zel::ptrCast<Hardware::Gpio::CorvelPinConfig>(pins.entryIs(pinName, pinType));
  };
  for (CreatedPinTrace const& colour : kCreatedPinTraces) {
    for (auto member : mapping.pinNames(colour.colour)) {
      output->pinsIs(colour.colour, pinFor(member.key));
      PINLAMP_TRACE(6, colour.line, "createLedConfig", colour.text << member.key << "'");
    }
  }
  owner.createDriver(mapping.name());
}

// --- state machines -------------------------------------------------------------------------

Zel::Ptr<GpioLedStateMachine> ConfigReactor::gpioLedStateMachine(Zel::Name const& name) const {
  auto const* machine = gpioLedStateMachine_.find(name);
  return machine ? *machine : nullptr;
}

Zel::Ptr<GpioLedStateMachine> ConfigReactor::gpioLedStateMachineIs(
    Zel::Ptr<CorvelGpioLedConfig> const& corvelGpioLedConfig,
    Zel::Ptr<LedConfig const> const& hwLedConfig) {
  Zel::Name const key = Zel::validPtr(hwLedConfig).name();
  if (Zel::Ptr<GpioLedStateMachine> existing = gpioLedStateMachine(key)) {
    if (existing->corvelGpioLedConfig() != corvelGpioLedConfig) {
      Zel::throwNameInUseException(reinstantiationText("_corvelGpioLedConfig",
                                                       corvelGpioLedConfig.ptr(),
                                                       existing->corvelGpioLedConfig().ptr()));
    }
    if (existing->hwLedConfig() != hwLedConfig) {
      Zel::throwNameInUseException(
          reinstantiationText("_hwLedConfig", hwLedConfig.ptr(), existing->hwLedConfig().ptr()));
    }
    return existing;
  }
  Zel::Ptr<GpioLedStateMachine> machine = GpioLedStateMachineIs(corvelGpioLedConfig, hwLedConfig);
  if (!machine) Zel::throwRangeException("null ValidPtr");
  gpioLedStateMachine_.insert(key, machine);
  machine->hasNotificationActiveIs(true);
  gpioLedStateMachineNotify(key);
  return machine;
}

Zel::Ptr<GpioLedStateMachine> ConfigReactor::gpioLedStateMachineDel(Zel::Name const& name) {
  Zel::Ptr<GpioLedStateMachine> machine = gpioLedStateMachine_.take(name);
  if (machine) gpioLedStateMachineNotify(name);
  return machine;
}

void ConfigReactor::gpioLedStateMachineDelAll() {
  for (auto member : gpioLedStateMachine_) gpioLedStateMachineDel(member.key);
}

// --- output configuration -------------------------------------------------------------------

Zel::Ptr<CorvelGpioLedSystemConfigDir> ConfigReactor::corvelLedSystemConfigIs(
    Zel::Name const& name) {
  if (corvelLedSystemConfig_) {
    if (corvelLedSystemConfig_->name() == name) return corvelLedSystemConfig_;
    corvelLedSystemConfig_->parentIs(nullptr);
  }
  corvelLedSystemConfig_ = Zel::allocate<CorvelGpioLedSystemConfigDir>(name);
  if (!corvelLedSystemConfig_) Zel::throwRangeException("null ValidPtr");
  return corvelLedSystemConfig_;
}

Zel::Ptr<CorvelGpioLedSystemConfigDir> ConfigReactor::corvelLedSystemConfigDel() {
  if (!corvelLedSystemConfig_) return nullptr;
  Zel::Ptr<CorvelGpioLedSystemConfigDir> removed = std::move(corvelLedSystemConfig_);
  corvelLedSystemConfig_ = nullptr;
  removed->parentIs(nullptr);
  return removed;
}

void ConfigReactor::handleInitialized() {
  corvelLedSystemConfigIs(Hardware::kLedSystemEntry);
}

// --- per-LED decisions ----------------------------------------------------------------------

void ConfigReactor::createDriver(Zel::Name const& name) {
  PINLAMP_TRACE(9, TraceLine::createDriver, "createDriver",
                "createDriver"
                    << " " << name);
  Zel::Ptr<CorvelGpioLedConfig> output = Zel::validPtr(corvelLedSystemConfig_).gpioLeds(name);
  LedSystemConfigDir const* leds = Zel::validPtr(hwLedConfigDir_).notifier();
  GpioLedSystemConfigDir const* mappings = Zel::validPtr(gpioLedSystemConfigDir_).notifier();
  Zel::Ptr<LedConfig const> ledConfig = leds ? leds->leds(name) : nullptr;
  Zel::Ptr<GpioLedConfig const> mapping = mappings ? mappings->gpioLeds(name) : nullptr;
  if (mapping && mapping->ready() && output && ledConfig) {
    PINLAMP_TRACE(9, TraceLine::creatingStateMachine, "createDriver",
                  "Creating Gpio Led SM for " << name);
    gpioLedStateMachineIs(output, ledConfig);
  } else {
    PINLAMP_TRACE(9, TraceLine::deletingStateMachine, "createDriver",
                  "Deleting Gpio Led SM for " << name);
    gpioLedStateMachineDel(name);
  }
}

void ConfigReactor::handleGpioConfigCleanup(Zel::Name const& name) {
  PINLAMP_TRACE(9, TraceLine::handleGpioConfigCleanup, "handleGpioConfigCleanup",
                "handleGpioConfigCleanup"
                    << " " << name);
  CorvelGpioLedSystemConfigDir& ledSystem = Zel::validPtr(corvelLedSystemConfig_);
  // A mapping that never became ready has no output configuration: that is a fault here.
  Zel::Ptr<CorvelGpioLedConfig> output = ledSystem.gpioLeds(name);
  CorvelGpioLedConfig& led = Zel::validPtr(output);
  Zel::Dir& pins = Zel::validPtr(gpioPinConfigDir_);
  for (PinColour colour : Hardware::Gpio::kPinColours) {
    for (auto member : led.pins(colour)) pins.entryDel(member.key);
  }
  ledSystem.gpioLedsDel(name);
  createDriver(name);
}

}  // namespace Pinlamp
