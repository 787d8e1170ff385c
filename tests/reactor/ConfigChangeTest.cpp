// Changes to an LED that is already driven: its configuration replaced, its mapping's ready flag
// toggled, and misuse of the reactor's mutators.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/zel/Exception.h"
#include "tests/support/AgentHarness.h"

namespace PinlampTest {
namespace {

using Texts = std::vector<std::string>;

PinNames const kOnePinEach{{"pY"}, {"pG"}, {"pR"}, {"pO"}};

// Led1 with one pin of each colour, steady green.
class ConfigChangeTest : public testing::Test {
 protected:
  void SetUp() override {
    harness_.publishMapping("Led1", kOnePinEach);
    harness_.setLed("Led1", setting("g"));
    harness_.runPending();
    ASSERT_NE(harness_.machine("Led1"), nullptr);
    harness_.clearTraces();
  }

  std::string led1Pins() { return harness_.pinValues({"pY", "pG", "pR", "pO"}); }

  AgentHarness harness_;
};

TEST_F(ConfigChangeTest, ConfigurationReplacedInOneStepIsRefusedAndTheOldMachineStays) {
  Zel::Ptr<Pinlamp::GpioLedStateMachine> const machine = harness_.machine("Led1");
  Zel::Ptr<Hardware::Led::LedConfig const> const old = machine->hwLedConfig();

  Zel::Ptr<Hardware::Led::LedConfig> const replacement = harness_.replaceLed("Led1", setting("r"));
  try {
    harness_.runPending();
    ADD_FAILURE() << "the replacement was accepted";
  } catch (Zel::NameInUseException const& error) {
    std::string const expected =
        "Reinstantiating the pointer interface where constructor parameter attribute "
        "_hwLedConfig has a different value of " +
        Zel::valueToStrepOfRawPtr(replacement.ptr()).stdString() + " than the current value of " +
        Zel::valueToStrepOfRawPtr(old.ptr()).stdString() + " not allowed";
    EXPECT_EQ(error.what(), expected);
  }
  EXPECT_EQ(harness_.machine("Led1"), machine.ptr());
  EXPECT_EQ(machine->hwLedConfig(), old);
  EXPECT_EQ(led1Pins(), "0100");
}

TEST_F(ConfigChangeTest, ReadyGoingFalseChangesNothingAndBackToTrueRebuildsInPlace) {
  Zel::Ptr<Pinlamp::GpioLedStateMachine> const machine = harness_.machine("Led1");
  Zel::Ptr<Hardware::Gpio::CorvelGpioLedConfig> const output = harness_.output("Led1");
  Zel::Ptr<Hardware::Gpio::CorvelPinConfig> const green = harness_.pin("pG");

  harness_.mappingReadyIs("Led1", false);
  harness_.runPending();
  EXPECT_EQ(harness_.traces(), Texts{"createLedConfig Led1"});
  EXPECT_EQ(harness_.machine("Led1"), machine.ptr());
  EXPECT_EQ(harness_.output("Led1"), output);
  EXPECT_EQ(led1Pins(), "0100");

  harness_.clearTraces();
  harness_.mappingReadyIs("Led1", true);
  harness_.runPending();
  EXPECT_EQ(harness_.traces(6), (Texts{"created yellow pin 'pY'", "created green pin 'pG'",
                                       "created red pin 'pR'", "created orange pin 'pO'"}));
  EXPECT_EQ(harness_.traces(9),
            (Texts{"createLedConfig Led1", "createDriver Led1", "Creating Gpio Led SM for Led1"}));
  EXPECT_EQ(harness_.machine("Led1"), machine.ptr());
  EXPECT_EQ(harness_.output("Led1"), output);
  EXPECT_EQ(harness_.pin("pG"), green);
  EXPECT_EQ(led1Pins(), "0100");
}

TEST_F(ConfigChangeTest, ANullMappingIsRefusedWithTheMutatorsText) {
  Pinlamp::ConfigReactor& reactor = *harness_.reactor();
  try {
    reactor.gpioLedConfigIs(nullptr);
    ADD_FAILURE() << "a null mapping was accepted";
  } catch (Zel::RangeException const& error) {
    EXPECT_STREQ(error.what(),
                 "null _gpioLedConfig parameter to mutator for "
                 "Pinlamp::ConfigReactor::gpioLedConfig not allowed\"");
  }
  EXPECT_EQ(reactor.gpioLedConfig().size(), 1u);
  EXPECT_EQ(harness_.traces(), Texts{});
}

// A reactor switched off holds its LEDs still; switched back on, every LED it held reacts again,
// those built before it was first switched on included.
TEST_F(ConfigChangeTest, SwitchedOffTheLedsHoldAndSwitchedBackOnTheyFollowAgain) {
  Pinlamp::ConfigReactor& reactor = *harness_.reactor();
  reactor.hasNotificationActiveIs(false);
  harness_.setLed("Led1", setting("r"));
  harness_.runPending();
  EXPECT_EQ(led1Pins(), "0100");

  reactor.hasNotificationActiveIs(true);
  harness_.setLed("Led1", setting("y"));
  harness_.runPending();
  EXPECT_EQ(led1Pins(), "1000");
}

}  // namespace
}  // namespace PinlampTest
