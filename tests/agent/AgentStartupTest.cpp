// The agent's start-up as a host drives it: mounts declared by doInit, their completion from the
// activity loop, the three fetched directories, the configuration reactor handed over at the end,
// and the agent's slot for that reactor.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/zel/AllocTrack.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Exception.h"
#include "platform/zel/TypeNode.h"
#include "tests/support/AgentHarness.h"

namespace PinlampTest {
namespace {

using Texts = std::vector<std::string>;

AgentHarness::Options notStarted() {
  AgentHarness::Options options;
  options.start = false;
  return options;
}

std::vector<Statedb::Mount> const& expectedMounts() {
  static std::vector<Statedb::Mount> const mounts = {
      {"hardware/gpio/config/led", "Hardware::Gpio::GpioLedSystemConfigDir", "r"},
      {"hardware/led/config", "Hardware::Led::LedSystemConfigDir", "r"},
      {"hardware/led/configInit", "Hardware::Led::LedSystemConfigDir", "r"},
      {"hardware/fanController/config", "Zel::Dir", "r"},
      {"environment/cooling/config", "Environment::Cooling::Config", "r"},
      {"hardware/corvel/gpio/init", "Zel::Dir", "r"},
      {"hardware/gpio/config", "Zel::Dir", "r"},
      {"hardware/corvel/gpio/config", "Zel::Dir", "wi"},
  };
  return mounts;
}

TEST(AgentStartupTest, DoInitDeclaresTheEightMountsInOneClosedGroup) {
  AgentHarness harness(notStarted());
  harness.agent()->entityManagerIs(harness.entityManager());
  harness.agent()->doInit();

  Zel::Ptr<Statedb::MountGroup> group = harness.entityManager()->getMountGroup(harness.agent());
  EXPECT_TRUE(group->isClosed());
  EXPECT_EQ(group->mounts(), expectedMounts());

  harness.runPending();
  EXPECT_EQ(harness.entityManager()->mounts(), expectedMounts());
  // Every mount made its entity, of the declared type, in the database.
  for (Statedb::Mount const& mount : expectedMounts()) {
    Zel::Ptr<Zel::Entity> entity = harness.database()->entity(mount.path());
    ASSERT_NE(entity, nullptr) << mount.path();
    EXPECT_EQ(entity->fwkType()->name(), mount.typeName()) << mount.path();
  }
}

TEST(AgentStartupTest, CompletionComesFromTheLoopAndHandsTheThreeDirectoriesToTheReactor) {
  AgentHarness harness(notStarted());
  harness.agent()->entityManagerIs(harness.entityManager());
  harness.agent()->doInit();
  EXPECT_EQ(harness.traces(3), Texts{"doInit"});
  EXPECT_EQ(harness.agent()->configReactor(), nullptr);
  EXPECT_EQ(harness.agent()->gpioPinConfigDir(), nullptr);

  harness.runPending();
  EXPECT_EQ(harness.traces(3), (Texts{"doInit", "doMountsComplete"}));
  Pinlamp::Agent const& agent = *harness.agent();
  EXPECT_EQ(agent.gpioLedSystemConfigDir(), harness.database()->entity(kMappingPath));
  EXPECT_EQ(agent.hwLedConfigDir(), harness.database()->entity(kLedPath));
  EXPECT_EQ(agent.gpioPinConfigDir(), harness.database()->entity(kPinPath));
  ASSERT_NE(agent.gpioLedSystemConfigDir(), nullptr);
  ASSERT_NE(agent.hwLedConfigDir(), nullptr);
  ASSERT_NE(agent.gpioPinConfigDir(), nullptr);

  Pinlamp::ConfigReactor* reactor = harness.reactor();
  ASSERT_NE(reactor, nullptr);
  EXPECT_TRUE(reactor->hasNotificationActive());
  EXPECT_EQ(reactor->gpioLedSystemConfigDir(), agent.gpioLedSystemConfigDir());
  EXPECT_EQ(reactor->hwLedConfigDir(), agent.hwLedConfigDir());
  EXPECT_EQ(reactor->gpioPinConfigDir(), agent.gpioPinConfigDir());
  // Nothing was published yet: no LED, and the empty "ledSystem" output directory.
  EXPECT_TRUE(reactor->gpioLedConfig().empty());
  EXPECT_TRUE(reactor->gpioLedStateMachine().empty());
  ASSERT_NE(reactor->corvelLedSystemConfig(), nullptr);
  EXPECT_EQ(reactor->corvelLedSystemConfig()->name(), Zel::Name("ledSystem"));
  EXPECT_TRUE(reactor->corvelLedSystemConfig()->gpioLeds().empty());
}

TEST(AgentStartupTest, MistypedMappingEntityGivesANullDirectoryAndStillAReactor) {
  AgentHarness harness(notStarted());
  harness.database()->entityIs(kMappingPath, "Zel::Dir");
  harness.start();

  EXPECT_EQ(harness.agent()->gpioLedSystemConfigDir(), nullptr);
  EXPECT_NE(harness.agent()->hwLedConfigDir(), nullptr);
  EXPECT_NE(harness.agent()->gpioPinConfigDir(), nullptr);
  ASSERT_NE(harness.reactor(), nullptr);
  EXPECT_EQ(harness.reactor()->gpioLedSystemConfigDir(), nullptr);
  EXPECT_EQ(harness.reactor()->gpioLedSystemConfigDirReactor(), nullptr);
  EXPECT_EQ(harness.reactor()->hwLedConfigDir(), harness.agent()->hwLedConfigDir());
  EXPECT_EQ(harness.traces(), (Texts{"doInit", "doMountsComplete"}));
}

TEST(AgentStartupTest, ExistingMappingsAndLedsAreTakenOverAtStart) {
  AgentHarness harness(notStarted());
  harness.publishMapping("Led1", {.green = {"pG"}});
  harness.setLed("Led1", setting("g"));
  harness.start();
  ASSERT_NE(harness.machine("Led1"), nullptr);
  EXPECT_EQ(harness.pinValue("pG"), 1);
}

// The group fails as a whole, whichever of its mounts is refused.
TEST(AgentStartupDeathTest, AFailedMountStopsTheProcessWithTheAssertion) {
  char const* const failingPaths[] = {"*", "hardware/corvel/gpio/config",
                                      "environment/cooling/config"};
  for (char const* path : failingPaths) {
    SCOPED_TRACE(path);
    EXPECT_DEATH(
        {
          AgentHarness harness(notStarted());
          harness.entityManager()->mountFailureIs(path);
          harness.start();
        },
        "Pinlamp:360: virtual void Pinlamp::Agent::doMountsComplete\\(Statedb::MountStatus, "
        "const Ptr&\\): Assertion `status == Statedb::mountSuccess_' failed");
  }
}

// The text of the range error that `action` raises; empty when it raises none.
template <class Action>
std::string rangeErrorOf(Action action) {
  try {
    action();
  } catch (Zel::RangeException const& error) {
    return error.what();
  }
  return "";
}

TEST(AgentStartupTest, StartingWithoutAnEntityManagerIsARangeErrorNotACrash) {
  AgentHarness harness(notStarted());
  Pinlamp::Agent& agent = *harness.agent();
  EXPECT_EQ(rangeErrorOf([&] { agent.doInit(); }), "null ValidPtr");
  EXPECT_EQ(rangeErrorOf([&] { agent.doMountsComplete(Statedb::mountSuccess_, nullptr); }),
            "null ValidPtr");
  EXPECT_EQ(agent.configReactor(), nullptr);
}

TEST(AgentReactorSlotTest, TheSameThreeValuesKeepTheReactor) {
  AgentHarness harness;
  Pinlamp::Agent& agent = *harness.agent();
  Zel::Ptr<Pinlamp::ConfigReactor> const before = agent.configReactor();
  std::int64_t const reactorsMade =
      Zel::AllocTrackTypeInfo::of<Pinlamp::ConfigReactor>().allocations();

  Zel::Ptr<Pinlamp::ConfigReactor> const again = agent.configReactorIs(
      agent.gpioLedSystemConfigDir(), agent.hwLedConfigDir(), agent.gpioPinConfigDir());
  EXPECT_EQ(again, before);
  EXPECT_EQ(agent.configReactor(), before);
  EXPECT_EQ(Zel::AllocTrackTypeInfo::of<Pinlamp::ConfigReactor>().allocations(), reactorsMade);
}

TEST(AgentReactorSlotTest, AnyDifferentValueReplacesTheReactor) {
  struct Row {
    char const* name;
    bool otherMappings;
    bool otherLeds;
    bool otherPins;
  };
  Row const rows[] = {
      {"mapping directory", true, false, false},
      {"LED directory", false, true, false},
      {"pin directory", false, false, true},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.name);
    AgentHarness harness;
    Pinlamp::Agent& agent = *harness.agent();
    Zel::Ptr<Pinlamp::ConfigReactor> const before = agent.configReactor();
    Zel::Ptr<Hardware::Gpio::GpioLedSystemConfigDir const> mappings =
        row.otherMappings ? Zel::allocate<Hardware::Gpio::GpioLedSystemConfigDir>("other")
                          : agent.gpioLedSystemConfigDir();
    Zel::Ptr<Hardware::Led::LedSystemConfigDir const> leds =
        row.otherLeds ? Zel::allocate<Hardware::Led::LedSystemConfigDir>("other")
                      : agent.hwLedConfigDir();
    Zel::Ptr<Zel::Dir> pins = row.otherPins ? Zel::Dir::dirIs("other") : agent.gpioPinConfigDir();

    Zel::Ptr<Pinlamp::ConfigReactor> const after = agent.configReactorIs(mappings, leds, pins);
    ASSERT_NE(after, nullptr);
    EXPECT_NE(after, before);
    EXPECT_EQ(agent.configReactor(), after);
    EXPECT_TRUE(after->hasNotificationActive());
    EXPECT_EQ(after->gpioLedSystemConfigDir(), mappings);
    EXPECT_EQ(after->hwLedConfigDir(), leds);
    EXPECT_EQ(after->gpioPinConfigDir(), pins);
  }
}

TEST(AgentReactorSlotTest, ConfigReactorDelHandsTheReactorOverSilenced) {
  AgentHarness harness(notStarted());
  EXPECT_EQ(harness.agent()->configReactorDel(), nullptr);
  EXPECT_EQ(harness.agent()->configReactor(), nullptr);

  harness.start();
  Zel::Ptr<Pinlamp::ConfigReactor> const held = harness.agent()->configReactor();
  Zel::Ptr<Pinlamp::ConfigReactor> const removed = harness.agent()->configReactorDel();
  EXPECT_EQ(removed, held);
  EXPECT_EQ(harness.agent()->configReactor(), nullptr);
  EXPECT_FALSE(removed->hasNotificationActive());
  EXPECT_EQ(harness.agent()->configReactorDel(), nullptr);
}

TEST(AgentReactorSlotTest, DestroyingTheAgentSilencesTheReactorBeforeLettingGo) {
  AgentHarness harness;
  Zel::Ptr<Pinlamp::ConfigReactor> const held = harness.agent()->configReactor();
  harness.destroyAgent();
  EXPECT_FALSE(held->hasNotificationActive());
  EXPECT_EQ(held->references(), 1u);
}

// Every reactor the removed one owns is silent: the two directory reactors, the mapping
// reactor and the state machine of Led1.
TEST(AgentReactorSlotTest, AReactorHeldAfterConfigReactorDelReactsToNothing) {
  AgentHarness harness;
  harness.publishMapping("Led1", {{"pY"}, {"pG"}, {"pR"}, {"pO"}});
  harness.setLed("Led1", setting("g"));
  harness.runPending();
  Zel::Ptr<Pinlamp::ConfigReactor> const removed = harness.agent()->configReactorDel();
  harness.clearTraces();

  harness.publishMapping("Led2", {.red = {"q"}});
  harness.setLed("Led2", setting("r"));
  harness.setLed("Led1", setting("y"));
  harness.mappingReadyIs("Led1", false);
  harness.runPending();
  harness.mappingReadyIs("Led1", true);
  harness.runPending();

  EXPECT_EQ(harness.traces(), Texts{});
  EXPECT_EQ(removed->gpioLedConfig().size(), 1u);
  EXPECT_EQ(removed->gpioLedStateMachine().size(), 1u);
  EXPECT_EQ(harness.pinValues({"pY", "pG", "pR", "pO"}), "0100");
  EXPECT_FALSE(harness.hasPin("q"));
}

TEST(AgentReactorSlotTest, AStartedAgentLeavesNothingBehind) {
  std::int64_t const agents = Zel::AllocTrackTypeInfo::of<Pinlamp::Agent>().live();
  std::int64_t const reactors = Zel::AllocTrackTypeInfo::of<Pinlamp::ConfigReactor>().live();
  {
    AgentHarness harness;
    EXPECT_EQ(Zel::AllocTrackTypeInfo::of<Pinlamp::Agent>().live(), agents + 1);
    EXPECT_EQ(Zel::AllocTrackTypeInfo::of<Pinlamp::ConfigReactor>().live(), reactors + 1);
  }
  EXPECT_EQ(Zel::AllocTrackTypeInfo::of<Pinlamp::Agent>().live(), agents);
  EXPECT_EQ(Zel::AllocTrackTypeInfo::of<Pinlamp::ConfigReactor>().live(), reactors);
}

}  // namespace
}  // namespace PinlampTest
