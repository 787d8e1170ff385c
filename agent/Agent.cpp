#include "agent/Agent.h"

#include "agent/AgentFactory.h"
#include "platform/model/DatabasePaths.h"
#include "platform/zel/Assert.h"
#include "platform/zel/Exception.h"
#include "platform/zel/TypeNode.h"
#include "platform/zel/ValidPtr.h"
#include "trace/Trace.h"

namespace Pinlamp {

namespace {

struct MountRequest {
  char const* path;
  char const* typeName;
  char const* mode;
};

// Only the first two and the last are read; the others are mounted so that the agent starts
// only once the whole LED and cooling configuration is available.
constexpr MountRequest kMounts[] = {
    {Hardware::kGpioLedMappingPath, "Hardware::Gpio::GpioLedSystemConfigDir", "r"},
    {Hardware::kLedConfigPath, "Hardware::Led::LedSystemConfigDir", "r"},
    {"hardware/led/configInit", "Hardware::Led::LedSystemConfigDir", "r"},
    {"hardware/fanController/config", "Zel::Dir", "r"},
    {"environment/cooling/config", "Environment::Cooling::Config", "r"},
    {"hardware/corvel/gpio/init", "Zel::Dir", "r"},
    {"hardware/gpio/config", "Zel::Dir", "r"},
    {Hardware::kCorvelPinPath, "Zel::Dir", "wi"},
};

// Line numbers that the start-up records and the failed-mount assertion carry. They are part of
// the records' published format (tools and other agents match on them), not positions in this
// file: keep them when the code moves.
constexpr int kDoInitTraceLine = 331;
constexpr int kDoMountsCompleteTraceLine = 359;
constexpr int kMountAssertionLine = 360;

}  // namespace

Zel::TypeNode const& Agent::type() {
  static Zel::TypeNode const node("Pinlamp::Agent", &newEntityForDir, &Warden::CAgent::type());
  return node;
}

Zel::TypeNode const* Agent::fwkType() const {
  return &type();
}

Agent::~Agent() {
  configReactorDel();
  // The directories are released in reverse declaration order by the members' destructors.
}

void Agent::doInit() {
  PINLAMP_TRACE(3, kDoInitTraceLine, "doInit", "doInit");
  Zel::Ptr<Statedb::Mounter> self(this);
  Zel::Ptr<Statedb::MountGroup> group = Zel::validPtr(entityManager()).getMountGroup(self);
  for (MountRequest const& mount : kMounts) {
    group->doMount(Statedb::Mount(mount.path, mount.typeName, mount.mode));
  }
  group->doClose(false, "", 0.0);
}

void Agent::doMountsComplete(Statedb::MountStatus status,
                             Zel::Ptr<Statedb::EntityManager> const& entityManager) {
  PINLAMP_TRACE(3, kDoMountsCompleteTraceLine, "doMountsComplete", "doMountsComplete");
  // There is no degraded mode: without its mounts the agent has nothing to drive.
  if (!(status == Statedb::mountSuccess_)) {
    Zel::assertionFailed(
        "status == Statedb::mountSuccess_", "Pinlamp", kMountAssertionLine,
        "virtual void Pinlamp::Agent::doMountsComplete(Statedb::MountStatus, const "
        "Ptr&)");
  }
  Statedb::EntityManager const& entities = Zel::validPtr(entityManager);
  gpioLedSystemConfigDir_ =
      Zel::ptrCast<GpioLedSystemConfigDir const>(entities.getEntity(Hardware::kGpioLedMappingPath));
  hwLedConfigDir_ =
      Zel::ptrCast<LedSystemConfigDir const>(entities.getEntity(Hardware::kLedConfigPath));
  gpioPinConfigDir_ = Zel::ptrCast<Zel::Dir>(entities.getEntity(Hardware::kCorvelPinPath));
  configReactorIs(gpioLedSystemConfigDir_, hwLedConfigDir_, gpioPinConfigDir_);
}

Zel::Ptr<ConfigReactor> Agent::configReactorIs(
    Zel::Ptr<GpioLedSystemConfigDir const> const& gpioLedSystemConfigDir,
    Zel::Ptr<LedSystemConfigDir const> const& hwLedConfigDir,
    Zel::Ptr<Zel::Dir> const& gpioPinConfigDir) {
  if (configReactor_ && configReactor_->gpioLedSystemConfigDir() == gpioLedSystemConfigDir &&
      configReactor_->hwLedConfigDir() == hwLedConfigDir &&
      configReactor_->gpioPinConfigDir() == gpioPinConfigDir) {
    return configReactor_;
  }
  configReactor_ = ConfigReactorIs(gpioLedSystemConfigDir, hwLedConfigDir, gpioPinConfigDir);
  if (!configReactor_) Zel::throwRangeException("null ValidPtr");
  configReactor_->hasNotificationActiveIs(true);
  return configReactor_;
}

Zel::Ptr<ConfigReactor> Agent::configReactorDel() {
  if (!configReactor_) return nullptr;
  Zel::Ptr<ConfigReactor> reactor = std::move(configReactor_);
  configReactor_ = nullptr;
  reactor->hasNotificationActiveIs(false);
  return reactor;
}

}  // namespace Pinlamp
