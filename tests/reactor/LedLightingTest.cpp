// How an LED's pins map to entities. When an LED is driven at all is followed step by step by
// the model-based run and the scenario scripts.
#include <gtest/gtest.h>

#include "tests/support/AgentHarness.h"

namespace PinlampTest {
namespace {

TEST(LedLightingTest, APinNamedInSeveralColoursIsOneEntity) {
  AgentHarness harness;
  harness.publishMapping("Led1", {.yellow = {"pA"}, .green = {"pA", "pB"}});
  harness.setLed("Led1", setting("y"));
  harness.runPending();

  EXPECT_EQ(harness.pinDir()->entryCount(), 2u);
  Zel::Ptr<Hardware::Gpio::CorvelGpioLedConfig> output = harness.output("Led1");
  EXPECT_EQ(*output->gpioYellow().find("pA"), *output->gpioGreen().find("pA"));
  // Lit as yellow, though green (which comes after yellow) wrote it 0 first.
  EXPECT_EQ(harness.pinValues({"pA", "pB"}), "10");
}

}  // namespace
}  // namespace PinlampTest
