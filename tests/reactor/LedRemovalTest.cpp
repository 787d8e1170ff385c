// Taking LEDs down: a mapping leaving its directory, alone, with a pin it shares, or with the
// whole directory.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/AgentHarness.h"

namespace PinlampTest {
namespace {

using Texts = std::vector<std::string>;

PinNames const kOnePinEach{{"pY"}, {"pG"}, {"pR"}, {"pO"}};

TEST(LedRemovalTest, RemovingAMappingCleansUpInOrderAndRetiresItsReactor) {
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
  // What is left of the LED is followed by the model-based run; here, that the retired per-LED
  // reactor is cut loose from both its owner and its mapping.
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

}  // namespace
}  // namespace PinlampTest
