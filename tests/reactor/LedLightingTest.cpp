// From published configuration to pin values: when an LED gets its pin configuration and its
// state machine, and what another agent's light setting does to the pins.
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

TEST_F(LedLightingTest, AnotherAgentSetsAnLedToSteadyGreen) {
  harness_.publishMapping("Led1", kOnePinEach);
  harness_.setLed("Led1", setting("y"));
  harness_.runPending();
  ASSERT_EQ(led1Pins(), "1000");
  harness_.clearTraces();

  harness_.setLed("Led1", setting("g"));
  harness_.runPending();

  EXPECT_EQ(led1Pins(), "0100");
  EXPECT_EQ(harness_.traces(7), Texts{"handleHwLedConfig Led1"});
  EXPECT_EQ(harness_.traces(6), (Texts{"Corvel Yellow Pin: pY  OldValue: 1 NewValue: 0",
                                       "Corvel Green Pin: pG  OldValue: 0 NewValue: 1"}));
  // What the pins are driven from: the entity under the output mount, looked up afresh.
  auto const green = Zel::ptrCast<Hardware::Gpio::CorvelPinConfig>(
      harness_.database()->entity("hardware/corvel/gpio/config/pG"));
  ASSERT_NE(green, nullptr);
  EXPECT_EQ(green->value(), 1u);
}

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

TEST_F(LedLightingTest, AMappingThatIsNotReadyCreatesNothing) {
  harness_.setLed("Led1", setting("g"));
  harness_.runPending();
  harness_.clearTraces();

  harness_.publishMapping("Led1", kOnePinEach, false);
  harness_.runPending();

  EXPECT_EQ(harness_.traces(), Texts{"createLedConfig Led1"});
  EXPECT_EQ(harness_.output("Led1"), nullptr);
  EXPECT_EQ(harness_.pinDir()->entryCount(), 0u);
  EXPECT_EQ(harness_.machine("Led1"), nullptr);
  EXPECT_NE(harness_.reactor()->gpioLedConfig("Led1"), nullptr);

  // The agent cannot be torn down over a mapping that never became ready.
  harness_.mappingReadyIs("Led1", true);
  harness_.runPending();
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

TEST_F(LedLightingTest, TwoLedsSharingAPinShareItsEntity) {
  harness_.publishMapping("Led1", {.green = {"shared"}, .red = {"r1"}});
  harness_.publishMapping("Led2", {.yellow = {"y2"}, .green = {"shared"}});
  harness_.setLed("Led1", setting("g"));
  harness_.setLed("Led2", setting(""));
  harness_.runPending();

  EXPECT_EQ(harness_.pinDir()->entryCount(), 3u);
  Zel::Ptr<Hardware::Gpio::CorvelPinConfig> const shared = harness_.pin("shared");
  EXPECT_EQ(*harness_.output("Led1")->gpioGreen().find("shared"), shared);
  EXPECT_EQ(*harness_.output("Led2")->gpioGreen().find("shared"), shared);
  EXPECT_NE(harness_.machine("Led1"), nullptr);
  EXPECT_NE(harness_.machine("Led2"), nullptr);
}

TEST_F(LedLightingTest, LedsAreDrivenIndependently) {
  harness_.publishMapping("Led1", kOnePinEach);
  harness_.publishMapping("Led2", {{"qY"}, {"qG"}, {"qR"}, {"qO"}});
  harness_.setLed("Led1", setting("r"));
  harness_.setLed("Led2", setting("yo"));
  harness_.runPending();
  EXPECT_EQ(led1Pins(), "0010");
  EXPECT_EQ(harness_.pinValues({"qY", "qG", "qR", "qO"}), "1001");

  harness_.clearTraces();
  harness_.setLed("Led2", setting(""));
  harness_.runPending();
  EXPECT_EQ(led1Pins(), "0010");
  EXPECT_EQ(harness_.pinValues({"qY", "qG", "qR", "qO"}), "0000");
  EXPECT_EQ(harness_.traces(7), Texts{"handleHwLedConfig Led2"});
}

}  // namespace
}  // namespace PinlampTest
