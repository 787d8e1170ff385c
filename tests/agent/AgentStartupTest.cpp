// The agent's start-up as a host drives it: mounts declared by doInit, their completion from the
// activity loop, the three fetched directories, the configuration reactor handed over at the end,
// and the agent's slot for that reactor.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/zel/Allocate.h"
#include "platform/zel/Exception.h"
#include "tests/support/AgentHarness.h"

namespace PinlampTest {
namespace {

using Texts = std::vector<std::string>;

AgentHarness::Options notStarted() {
  AgentHarness::Options options;
  options.start = false;
  return options;
}

// The mount paths and the reactor's use of the three directories are exercised by every other
// test; what only this one sees is the moment of completion.
TEST(AgentStartupTest, CompletionComesFromTheLoopAndHandsTheDirectoriesToTheReactor) {
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
  ASSERT_NE(harness.reactor(), nullptr);
  EXPECT_TRUE(harness.reactor()->hasNotificationActive());
  EXPECT_EQ(harness.reactor()->corvelLedSystemConfig()->name(), Zel::Name("ledSystem"));
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

// The same three directories keep the reactor; any different one replaces it.
TEST(AgentReactorSlotTest, OnlyADifferentDirectoryReplacesTheReactor) {
  struct Row {
    char const* name;
    bool otherMappings;
    bool otherLeds;
    bool otherPins;
  };
  Row const rows[] = {
      {"the same three", false, false, false},
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
    EXPECT_EQ(after == before, !(row.otherMappings || row.otherLeds || row.otherPins));
    EXPECT_EQ(agent.configReactor(), after);
    EXPECT_TRUE(after->hasNotificationActive());
    EXPECT_EQ(after->gpioLedSystemConfigDir(), mappings);
    EXPECT_EQ(after->hwLedConfigDir(), leds);
    EXPECT_EQ(after->gpioPinConfigDir(), pins);
  }
}

TEST(AgentReactorSlotTest, DestroyingTheAgentSilencesTheReactorBeforeLettingGo) {
  AgentHarness harness;
  Zel::Ptr<Pinlamp::ConfigReactor> const held = harness.agent()->configReactor();
  harness.destroyAgent();
  EXPECT_FALSE(held->hasNotificationActive());
  EXPECT_EQ(held->references(), 1u);
}

// The removed reactor is handed over with every reactor it owns silent: the two directory
// reactors, the mapping reactor and the state machine of Led1.
TEST(AgentReactorSlotTest, ConfigReactorDelHandsTheReactorOverSilenced) {
  AgentHarness harness(notStarted());
  EXPECT_EQ(harness.agent()->configReactorDel(), nullptr);
  harness.start();
  harness.publishMapping("Led1", {{"pY"}, {"pG"}, {"pR"}, {"pO"}});
  harness.setLed("Led1", setting("g"));
  harness.runPending();
  Zel::Ptr<Pinlamp::ConfigReactor> const held = harness.agent()->configReactor();
  Zel::Ptr<Pinlamp::ConfigReactor> const removed = harness.agent()->configReactorDel();
  EXPECT_EQ(removed, held);
  EXPECT_EQ(harness.agent()->configReactor(), nullptr);
  EXPECT_EQ(harness.agent()->configReactorDel(), nullptr);
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

}  // namespace
}  // namespace PinlampTest
