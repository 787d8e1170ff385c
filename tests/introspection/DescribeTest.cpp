// The readable dump that a host prints for its "show" commands.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "platform/zel/generic/Describe.h"
#include "tests/introspection/IntrospectionFixture.h"

namespace PinlampTest {
namespace {

using namespace Zel::GenericIf;

class DescribeTest : public IntrospectionFixture {
 protected:
  std::string described(int depth) {
    std::ostringstream out;
    describe(out, agent(), depth);
    return out.str();
  }
};

TEST_F(DescribeTest, ShowsTheMachinesAndTheirPinsByName) {
  std::string const text = described(kDescribeDepth);
  for (char const* line : {
           "pinlamp (Pinlamp::Agent)\n",
           "\n  configReactor: Pinlamp::ConfigReactor\n",
           "\n    gpioLedStateMachine:\n",
           "\n      Led1: Pinlamp::GpioLedStateMachine\n",
           "\n        flashingState: false\n",
           "\n        name: Led1\n",
           "\n      G1: hardware/corvel/gpio/config/G1 (Hardware::Gpio::CorvelPinConfig)\n",
           "\n        value: 1\n",
           "\n        lightSetting: [green steady]\n",
           "\n        ledConfig: \"\"\n",
       }) {
    EXPECT_NE(text.find(line), std::string::npos) << line << "\nin:\n" << text;
  }
  // Procedures are not state. A directory is expanded once; a pin wherever it is referenced.
  EXPECT_EQ(text.find("doInit"), std::string::npos);
  EXPECT_NE(text.find("gpioPinConfigDir: hardware/corvel/gpio/config (Zel::Dir), shown above"),
            std::string::npos);
  EXPECT_NE(text.find("\n          gpioGreen:\n"
                      "            G1: hardware/corvel/gpio/config/G1 "
                      "(Hardware::Gpio::CorvelPinConfig)\n"
                      "              value: 1\n"),
            std::string::npos)
      << text;
}

TEST_F(DescribeTest, DepthBoundsHowFarPointersAreFollowed) {
  std::string const shallow = described(0);
  EXPECT_NE(shallow.find("  configReactor: Pinlamp::ConfigReactor\n"), std::string::npos);
  EXPECT_EQ(shallow.find("gpioLedStateMachine"), std::string::npos);
  EXPECT_LT(shallow.size(), described(kDescribeDepth).size());
}

}  // namespace
}  // namespace PinlampTest
