#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/Publisher.h"
#include "host/ScriptParser.h"
#include "platform/zel/ActivityManager.h"
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
  void SetUp() override { Zel::activityManagerIs(Zel::ActivityManager::TimeSource::virtualTime); }

  Zel::Ptr<Hardware::Gpio::GpioLedSystemConfigDir> mappings_ =
      Zel::allocate<Hardware::Gpio::GpioLedSystemConfigDir>("led");
  Zel::Ptr<Hardware::Led::LedSystemConfigDir> leds_ =
      Zel::allocate<Hardware::Led::LedSystemConfigDir>("config");
};

TEST_F(PublisherTest, SetMappingBuildsThenChangesTheSameEntityInPlace) {
  publishMapping(*mappings_, command<MappingCommand>("set mapping L yellow=y1 green=g1,g2"));
  Zel::Ptr<GpioLedConfig> const first = mappings_->gpioLeds("L");
  ASSERT_TRUE(first);
  EXPECT_FALSE(first->ready());
  EXPECT_EQ(pinsOf(first->gpioGreenName()), (std::vector<std::string>{"g1", "g2"}));
  EXPECT_TRUE(first->gpioRedName().empty());

  publishMapping(*mappings_, command<MappingCommand>("set mapping L green=g2,g3 red= ready=yes"));
  EXPECT_EQ(mappings_->gpioLeds("L"), first);
  EXPECT_EQ(pinsOf(first->gpioYellowName()), std::vector<std::string>{"y1"});  // not named: kept
  EXPECT_EQ(pinsOf(first->gpioGreenName()), (std::vector<std::string>{"g2", "g3"}));
  EXPECT_TRUE(first->ready());

  publishMapping(*mappings_, command<MappingCommand>("set mapping L yellow="));
  EXPECT_TRUE(first->gpioYellowName().empty());
  EXPECT_TRUE(first->ready());  // not named: kept
}

TEST_F(PublisherTest, ReplaceMappingPutsANewEntityBuiltFromTheCommandAlone) {
  publishMapping(*mappings_, command<MappingCommand>("set mapping L yellow=y1 ready=yes"));
  Zel::Ptr<GpioLedConfig> const first = mappings_->gpioLeds("L");
  publishMapping(*mappings_, command<MappingCommand>("replace mapping L red=r1"));
  Zel::Ptr<GpioLedConfig> const second = mappings_->gpioLeds("L");
  ASSERT_TRUE(second);
  EXPECT_NE(second, first);
  EXPECT_TRUE(second->gpioYellowName().empty());
  EXPECT_EQ(pinsOf(second->gpioRedName()), std::vector<std::string>{"r1"});
  EXPECT_FALSE(second->ready());
}

TEST_F(PublisherTest, SetLedWritesTheSettingAndKeepsWhatTheCommandDoesNotSay) {
  publishLed(*leds_, command<LedCommand>("set led L green red flash=0.5"));
  Zel::Ptr<Hardware::Led::LedConfig> const first = leds_->leds("L");
  ASSERT_TRUE(first);
  Led::LightSetting setting = first->lightSetting();
  EXPECT_TRUE(setting.green && setting.red && !setting.yellow && !setting.orange);
  EXPECT_EQ(setting.flashInterval, 0.5);

  setting.priority = 7;
  first->lightSettingIs(setting);
  publishLed(*leds_, command<LedCommand>("set led L yellow"));
  EXPECT_EQ(leds_->leds("L"), first);
  EXPECT_TRUE(first->lightSetting().yellow);
  EXPECT_FALSE(first->lightSetting().green);
  EXPECT_EQ(first->lightSetting().flashInterval, 0.0);
  EXPECT_EQ(first->lightSetting().priority, 7u);

  publishLed(*leds_, command<LedCommand>("replace led L off"));
  EXPECT_NE(leds_->leds("L"), first);
  EXPECT_TRUE(leds_->leds("L")->lightSetting().isDark());
}

TEST_F(PublisherTest, WithdrawingSaysWhetherThereWasAnythingToRemove) {
  publishLed(*leds_, command<LedCommand>("set led L green"));
  publishMapping(*mappings_, command<MappingCommand>("set mapping L"));
  EXPECT_TRUE(withdrawLed(*leds_, "L"));
  EXPECT_FALSE(withdrawLed(*leds_, "L"));
  EXPECT_TRUE(withdrawMapping(*mappings_, "L"));
  EXPECT_FALSE(withdrawMapping(*mappings_, "L"));
}

}  // namespace
}  // namespace Host
