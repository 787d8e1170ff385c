#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/script/Publisher.h"
#include "host/script/ScriptParser.h"
#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/Allocate.h"

namespace Host {
namespace {

using Hardware::Gpio::GpioLedConfig;
using Hardware::Gpio::PinNameSet;

std::vector<std::string> pinsOf(PinNameSet const& set) {
  std::vector<std::string> pins;
  for (auto member : set) pins.push_back(member.key.stdString());
  std::sort(pins.begin(), pins.end());
  return pins;
}

template <class C>
C command(std::string const& line) {
  ParsedLine parsed = parseLine(line);
  EXPECT_EQ(parsed.error, "") << line;
  return std::get<C>(*parsed.command);
}

class PublisherTest : public testing::Test {
 protected:
  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::virtualTime};

  Zel::Ptr<Hardware::Gpio::GpioLedSystemConfigDir> mappings_ =
      Zel::allocate<Hardware::Gpio::GpioLedSystemConfigDir>("led");
  Zel::Ptr<Hardware::Led::LedSystemConfigDir> leds_ =
      Zel::allocate<Hardware::Led::LedSystemConfigDir>("config");
};

// `set` changes only what the command names, an empty list clearing a colour; `replace` builds
// a new entity from the command alone.
TEST_F(PublisherTest, SetMappingKeepsWhatItDoesNotNameAndReplaceStartsAfresh) {
  publishMapping(*mappings_, command<MappingCommand>("set mapping L yellow=y1 green=g1 ready=yes"));
  Zel::Ptr<GpioLedConfig> const first = mappings_->gpioLeds("L");
  ASSERT_TRUE(first);
  publishMapping(*mappings_, command<MappingCommand>("set mapping L yellow= green=g2,g3"));
  EXPECT_EQ(mappings_->gpioLeds("L"), first);
  EXPECT_TRUE(first->gpioYellowName().empty());
  EXPECT_EQ(pinsOf(first->gpioGreenName()), (std::vector<std::string>{"g2", "g3"}));
  EXPECT_TRUE(first->ready());

  publishMapping(*mappings_, command<MappingCommand>("replace mapping L red=r1"));
  Zel::Ptr<GpioLedConfig> const second = mappings_->gpioLeds("L");
  ASSERT_TRUE(second);
  EXPECT_NE(second, first);
  EXPECT_TRUE(second->gpioGreenName().empty());
  EXPECT_EQ(pinsOf(second->gpioRedName()), std::vector<std::string>{"r1"});
  EXPECT_FALSE(second->ready());
  EXPECT_TRUE(withdrawMapping(*mappings_, "L"));
  EXPECT_FALSE(withdrawMapping(*mappings_, "L"));
}

// The priority cannot be given in a script; a change of colours must not reset it.
TEST_F(PublisherTest, SetLedKeepsThePriorityItCannotName) {
  publishLed(*leds_, command<LedCommand>("set led L green flash=0.5"));
  Zel::Ptr<Hardware::Led::LedConfig> const first = leds_->leds("L");
  ASSERT_TRUE(first);
  Led::LightSetting setting = first->lightSetting();
  setting.priority = 7;
  first->lightSettingIs(setting);
  publishLed(*leds_, command<LedCommand>("set led L yellow red"));
  EXPECT_EQ(leds_->leds("L"), first);
  EXPECT_TRUE(first->lightSetting().yellow && first->lightSetting().red);
  EXPECT_FALSE(first->lightSetting().green);
  EXPECT_EQ(first->lightSetting().priority, 7u);
  EXPECT_TRUE(withdrawLed(*leds_, "L"));
  EXPECT_FALSE(withdrawLed(*leds_, "L"));
}

}  // namespace
}  // namespace Host
