// Taking LEDs down: a mapping leaving its directory, an LED configuration leaving while the LED
// flashes, and the whole agent going away.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/zel/AllocTrack.h"
#include "tests/support/AgentHarness.h"

namespace PinlampTest {
namespace {

using Texts = std::vector<std::string>;

PinNames const kOnePinEach{{"pY"}, {"pG"}, {"pR"}, {"pO"}};

TEST(LedRemovalTest, RemovingAMappingCleansUpPinsOutputAndMachineInOrder) {
  AgentHarness harness;
  harness.publishMapping("Led1", kOnePinEach);
  harness.setLed("Led1", setting("g"));
  harness.runPending();
  Zel::Ptr<Pinlamp::ConfigReactor::ZelGpioLedConfig> const reactor =
      harness.reactor()->gpioLedConfig("Led1");
  ASSERT_NE(harness.machine("Led1"), nullptr);
  harness.clearTraces();

  harness.removeMapping("Led1");
  harness.runPending();

  EXPECT_EQ(harness.traces(9), (Texts{"handleGpioConfigCleanup Led1", "createDriver Led1",
                                      "Deleting Gpio Led SM for Led1"}));
  EXPECT_EQ(harness.pinDir()->entryCount(), 0u);
  EXPECT_EQ(harness.output("Led1"), nullptr);
  EXPECT_EQ(harness.machine("Led1"), nullptr);
  EXPECT_EQ(harness.reactor()->gpioLedConfig("Led1"), nullptr);
  // The retired per-LED reactor is cut loose from both its owner and its mapping.
  EXPECT_TRUE(reactor->isMarkedForDeletion());
  EXPECT_EQ(reactor->owner(), nullptr);
  EXPECT_FALSE(reactor->isRegisteredNotifiee());
  // The LED's configuration belongs to another agent and stays.
  EXPECT_NE(harness.ledDir()->leds("Led1"), nullptr);
}

// The line numbers of the reactor's records are part of the trace output format; no check of
// the texts would notice a wrong one.
TEST(LedRemovalTest, AMappingsRecordsFromCreationToRemovalCarryTheirFixedLines) {
  AgentHarness harness;
  harness.setLed("Led1", setting("g"));
  harness.publishMapping("Led1", kOnePinEach);
  harness.runPending();
  harness.removeMapping("Led1");
  harness.runPending();

  std::set<std::pair<std::string, std::uint32_t>> traced;
  for (Zel::TraceRecord const& record : harness.sink().records()) {
    traced.emplace(record.text, record.line);
  }
  std::pair<std::string, std::uint32_t> const expected[] = {
      {"createLedConfig Led1", 246},          {"created yellow pin 'pY'", 263},
      {"created green pin 'pG'", 273},        {"created red pin 'pR'", 283},
      {"created orange pin 'pO'", 293},       {"createDriver Led1", 225},
      {"Creating Gpio Led SM for Led1", 234}, {"handleGpioConfigCleanup Led1", 302},
      {"Deleting Gpio Led SM for Led1", 238},
  };
  for (auto const& record : expected) {
    EXPECT_EQ(traced.count(record), 1u) << record.first << " at line " << record.second;
  }
}

TEST(LedRemovalTest, RemovingEitherOfTwoLedsSharingAPinRemovesTheSharedEntity) {
  struct Row {
    char const* removed;
    char const* kept;
    char const* removedOwnPin;
    char const* keptOwnPin;
  };
  Row const rows[] = {{"Led1", "Led2", "r1", "y2"}, {"Led2", "Led1", "y2", "r1"}};
  for (Row const& row : rows) {
    SCOPED_TRACE(row.removed);
    AgentHarness harness;
    harness.publishMapping("Led1", {.green = {"shared"}, .red = {"r1"}});
    harness.publishMapping("Led2", {.yellow = {"y2"}, .green = {"shared"}});
    harness.setLed("Led1", setting("g"));
    harness.setLed("Led2", setting("g"));
    harness.runPending();
    ASSERT_TRUE(harness.hasPin("shared"));

    harness.removeMapping(row.removed);
    harness.runPending();

    EXPECT_FALSE(harness.hasPin("shared"));
    EXPECT_FALSE(harness.hasPin(row.removedOwnPin));
    EXPECT_TRUE(harness.hasPin(row.keptOwnPin));
    EXPECT_EQ(harness.machine(row.removed), nullptr);
    EXPECT_NE(harness.machine(row.kept), nullptr);
    EXPECT_NE(harness.output(row.kept), nullptr);
  }
}

// Emptying the directory in one go is delivered at once, as a whole-collection change.
TEST(LedRemovalTest, EmptyingTheMappingDirectoryRemovesEveryLedAtOnce) {
  AgentHarness harness;
  harness.publishMapping("Led1", kOnePinEach);
  harness.publishMapping("Led2", {.red = {"q"}});
  harness.setLed("Led1", setting("g"));
  harness.setLed("Led2", setting("r"));
  harness.runPending();
  ASSERT_EQ(harness.reactor()->gpioLedStateMachine().size(), 2u);

  harness.mappingDir()->gpioLedsDelAll();
  EXPECT_TRUE(harness.reactor()->gpioLedConfig().empty());
  EXPECT_TRUE(harness.reactor()->gpioLedStateMachine().empty());
  EXPECT_TRUE(harness.reactor()->corvelLedSystemConfig()->gpioLeds().empty());
  EXPECT_EQ(harness.pinDir()->entryCount(), 0u);
  harness.runPending();  // the queued per-entry notifications bring nothing back
  EXPECT_TRUE(harness.reactor()->gpioLedStateMachine().empty());
  EXPECT_EQ(harness.pinDir()->entryCount(), 0u);
}

// A flashing LED whose machine goes away must stop ticking: no pin write and no record later.
TEST(LedRemovalTest, AFlashingLedStopsWhenItsMachineGoes) {
  struct Row {
    char const* name;
    std::function<void(AgentHarness&)> remove;
    std::string pinsAfter;
  };
  Row const rows[] = {
      {"mapping removed", [](AgentHarness& h) { h.removeMapping("Led1"); }, "----"},
      {"configuration removed", [](AgentHarness& h) { h.removeLed("Led1"); }, "0100"},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.name);
    std::int64_t const machines =
        Zel::AllocTrackTypeInfo::of<Pinlamp::GpioLedStateMachine>().live();
    AgentHarness harness;
    harness.publishMapping("Led1", kOnePinEach);
    harness.setLed("Led1", setting("g", 0.5));
    harness.runPending();
    harness.advance(0.5);
    ASSERT_EQ(harness.pinValues({"pY", "pG", "pR", "pO"}), "0100");

    row.remove(harness);
    harness.runPending();
    harness.clearTraces();
    harness.advance(5.0);

    EXPECT_EQ(harness.traces(), Texts{});
    EXPECT_EQ(harness.pinValues({"pY", "pG", "pR", "pO"}), row.pinsAfter);
    EXPECT_EQ(harness.machine("Led1"), nullptr);
    EXPECT_EQ(Zel::AllocTrackTypeInfo::of<Pinlamp::GpioLedStateMachine>().live(), machines);
  }
}

template <class T>
std::int64_t live() {
  return Zel::AllocTrackTypeInfo::of<T>().live();
}

struct LiveCounts {
  std::vector<std::int64_t> counts;
  std::vector<char const*> names;

  static LiveCounts now() {
    using Reactor = Pinlamp::ConfigReactor;
    using Machine = Pinlamp::GpioLedStateMachine;
    return LiveCounts{
        {live<Pinlamp::Agent>(), live<Reactor>(), live<Reactor::ZelGpioLedSystemConfigDir>(),
         live<Reactor::ZelHwLedConfigDir>(), live<Reactor::ZelGpioLedConfig>(), live<Machine>(),
         live<Machine::ZelHwLedConfig>(), live<Machine::ZelClock>(),
         live<Hardware::Gpio::CorvelGpioLedConfig>(),
         live<Hardware::Gpio::CorvelGpioLedSystemConfigDir>(),
         live<Hardware::Gpio::CorvelPinConfig>()},
        {"Agent", "ConfigReactor", "ZelGpioLedSystemConfigDir", "ZelHwLedConfigDir",
         "ZelGpioLedConfig", "GpioLedStateMachine", "GpioLedStateMachine::ZelHwLedConfig",
         "ZelClock", "CorvelGpioLedConfig", "CorvelGpioLedSystemConfigDir", "CorvelPinConfig"}};
  }
};

TEST(LedRemovalTest, DestroyingTheAgentLeavesNoMachineNoOutputAndNoAllocation) {
  LiveCounts const before = LiveCounts::now();
  AgentHarness harness;
  harness.publishMapping("Led1", kOnePinEach);
  harness.publishMapping("Led2", {.green = {"pG", "q"}});
  harness.publishMapping("Led3", {.red = {"z"}});  // configured, not driven
  harness.setLed("Led1", setting("g", 0.5));
  harness.setLed("Led2", setting("g"));
  harness.runPending();
  harness.advance(0.5);
  ASSERT_NE(harness.machine("Led1"), nullptr);
  ASSERT_NE(harness.machine("Led2"), nullptr);
  Zel::Ptr<Hardware::Gpio::CorvelGpioLedSystemConfigDir> ledSystem =
      harness.reactor()->corvelLedSystemConfig();

  harness.destroyAgent();
  EXPECT_TRUE(ledSystem->gpioLeds().empty());
  ledSystem = nullptr;
  EXPECT_EQ(harness.pinDir()->entryCount(), 0u);

  harness.clearTraces();
  harness.advance(5.0);
  EXPECT_EQ(harness.traces(), Texts{});

  LiveCounts const after = LiveCounts::now();
  for (std::size_t i = 0; i < before.counts.size(); ++i) {
    EXPECT_EQ(after.counts[i], before.counts[i]) << before.names[i];
  }
}

// Clean-up of a mapping assumes its output configuration exists; one that never became ready
// has none, and the clean-up runs inside a retirement that cannot fail half-way.
TEST(LedRemovalDeathTest, CleaningUpAMappingThatWasNeverReadyEndsTheProcess) {
  struct Row {
    char const* name;
    std::function<void(AgentHarness&)> remove;
  };
  Row const rows[] = {
      {"mapping removed", [](AgentHarness& h) { h.removeMapping("Led1"); }},
      {"agent destroyed", [](AgentHarness& h) { h.destroyAgent(); }},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_DEATH(
        {
          AgentHarness harness;
          harness.publishMapping("Led1", kOnePinEach, false);
          harness.runPending();
          row.remove(harness);
          harness.runPending();
        },
        "null ValidPtr");
  }
}

TEST(LedRemovalTest, AMappingThatWasReadyOnceIsCleanedUpAfterGoingUnready) {
  AgentHarness harness;
  harness.publishMapping("Led1", kOnePinEach);
  harness.runPending();
  harness.mappingReadyIs("Led1", false);
  harness.runPending();

  harness.removeMapping("Led1");
  harness.runPending();
  EXPECT_EQ(harness.pinDir()->entryCount(), 0u);
  EXPECT_EQ(harness.output("Led1"), nullptr);
}

}  // namespace
}  // namespace PinlampTest
