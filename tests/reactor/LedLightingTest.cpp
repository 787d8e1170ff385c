// From published configuration to a driven LED: when an LED gets its pin configuration and its
// state machine, and how its pins map to entities.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/AgentHarness.h"

namespace PinlampTest {
namespace {

using Texts = std::vector<std::string>;

PinNames const kOnePinEach{{"pY"}, {"pG"}, {"pR"}, {"pO"}};

class LedLightingTest : public testing::Test {
 protected:
  std::string led1Pins() { return harness_.pinValues({"pY", "pG", "pR", "pO"}); }

  AgentHarness harness_;
};

// Each way of reaching "mapping ready and configuration present" must end with a driven LED;
// every step before the last must leave it without a state machine.
TEST(LedLightingOrderTest, AnLedLightsOnceItsMappingIsReadyAndItsConfigurationExists) {
  using Step = std::function<void(AgentHarness&)>;
  Step const mapReady = [](AgentHarness& h) { h.publishMapping("Led1", kOnePinEach); };
  Step const mapNotReady = [](AgentHarness& h) { h.publishMapping("Led1", kOnePinEach, false); };
  Step const makeReady = [](AgentHarness& h) { h.mappingReadyIs("Led1", true); };
  Step const configure = [](AgentHarness& h) { h.setLed("Led1", setting("g")); };
  struct Row {
    char const* name;
    std::vector<Step> steps;
  };
  Row const rows[] = {
      {"mapping, then configuration", {mapReady, configure}},
      {"configuration, then mapping", {configure, mapReady}},
      {"configuration, mapping, then ready", {configure, mapNotReady, makeReady}},
      {"mapping, configuration, then ready", {mapNotReady, configure, makeReady}},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.name);
    AgentHarness harness;
    for (Step const& step : row.steps) {
      EXPECT_EQ(harness.machine("Led1"), nullptr);
      step(harness);
      harness.runPending();
    }
    ASSERT_NE(harness.machine("Led1"), nullptr);
    EXPECT_EQ(harness.pinValues({"pY", "pG", "pR", "pO"}), "0100");
    EXPECT_THAT(harness.traces(9), testing::Contains("Creating Gpio Led SM for Led1"));
  }
}

TEST_F(LedLightingTest, AReadyMappingWithoutPinsStillGetsItsOutputAndMachine) {
  harness_.setLed("Led1", setting("g"));
  harness_.publishMapping("Led1", {});
  harness_.runPending();

  Zel::Ptr<Hardware::Gpio::CorvelGpioLedConfig> output = harness_.output("Led1");
  ASSERT_NE(output, nullptr);
  EXPECT_TRUE(output->gpioYellow().empty());
  EXPECT_TRUE(output->gpioGreen().empty());
  EXPECT_TRUE(output->gpioRed().empty());
  EXPECT_TRUE(output->gpioOrange().empty());
  EXPECT_EQ(harness_.pinDir()->entryCount(), 0u);
  ASSERT_NE(harness_.machine("Led1"), nullptr);
  EXPECT_EQ(harness_.machine("Led1")->corvelGpioLedConfig(), output);
}

TEST_F(LedLightingTest, AReadyMappingWithoutConfigurationMakesPinsButNoMachine) {
  harness_.publishMapping("Led1", kOnePinEach);
  harness_.runPending();

  EXPECT_EQ(harness_.traces(9),
            (Texts{"createLedConfig Led1", "createDriver Led1", "Deleting Gpio Led SM for Led1"}));
  EXPECT_EQ(harness_.traces(6), (Texts{"created yellow pin 'pY'", "created green pin 'pG'",
                                       "created red pin 'pR'", "created orange pin 'pO'"}));
  EXPECT_EQ(led1Pins(), "0000");
  EXPECT_EQ(harness_.machine("Led1"), nullptr);
  // Each pin is the same entity in the output mount and in the LED's output configuration.
  Zel::Ptr<Hardware::Gpio::CorvelGpioLedConfig> output = harness_.output("Led1");
  ASSERT_NE(output, nullptr);
  EXPECT_EQ(*output->gpioYellow().find("pY"), harness_.pin("pY"));
  EXPECT_EQ(*output->gpioOrange().find("pO"), harness_.pin("pO"));
}

TEST_F(LedLightingTest, APinNamedInSeveralColoursIsOneEntity) {
  harness_.publishMapping("Led1", {.yellow = {"pA"}, .green = {"pA", "pB"}});
  harness_.setLed("Led1", setting("y"));
  harness_.runPending();

  EXPECT_EQ(harness_.pinDir()->entryCount(), 2u);
  Zel::Ptr<Hardware::Gpio::CorvelGpioLedConfig> output = harness_.output("Led1");
  EXPECT_EQ(*output->gpioYellow().find("pA"), *output->gpioGreen().find("pA"));
  // Lit as yellow, though green (which comes after yellow) wrote it 0 first.
  EXPECT_EQ(harness_.pinValues({"pA", "pB"}), "10");
}

}  // namespace
}  // namespace PinlampTest
