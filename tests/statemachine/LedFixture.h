// Shared set-up of the LED state machine tests: one LED ("Led1") with one pin per colour and its
// LED configuration, on a fresh virtual-time activity loop, with the agent's records captured.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/model/CorvelGpioLedSystemConfigDir.h"
#include "platform/model/CorvelPinConfig.h"
#include "platform/model/LedConfig.h"
#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Trace.h"
#include "statemachine/GpioLedStateMachine.h"

namespace PinlampTest {

using Hardware::Gpio::CorvelGpioLedConfig;
using Hardware::Gpio::CorvelGpioLedSystemConfigDir;
using Hardware::Gpio::CorvelPinConfig;
using Hardware::Led::LedConfig;
using Pinlamp::GpioLedStateMachine;
using Zel::Ptr;
using Texts = std::vector<std::string>;

// A setting lighting the colours named by their initials ("y", "gr", "" for off); an interval of
// 0.0 is steady.
inline Led::LightSetting lit(std::string_view colours, double flashInterval = 0.0) {
  Led::LightSetting setting;
  setting.yellow = colours.find('y') != std::string_view::npos;
  setting.green = colours.find('g') != std::string_view::npos;
  setting.red = colours.find('r') != std::string_view::npos;
  setting.orange = colours.find('o') != std::string_view::npos;
  setting.flashInterval = flashInterval;
  return setting;
}

class LedFixture : public testing::Test {
 protected:
  static constexpr std::uint32_t kLevels6to9 = (1u << 6) | (1u << 7) | (1u << 8) | (1u << 9);

  void SetUp() override {
    Zel::traceSinkIs(&sink_);
    Zel::traceLevelsIs("Pinlamp", kLevels6to9);
    led_ = ledSystem_->gpioLedsIs("Led1");
    led_->gpioYellowIs(Zel::allocate<CorvelPinConfig>("Y1"));
    led_->gpioGreenIs(Zel::allocate<CorvelPinConfig>("G1"));
    led_->gpioRedIs(Zel::allocate<CorvelPinConfig>("R1"));
    led_->gpioOrangeIs(Zel::allocate<CorvelPinConfig>("O1"));
  }
  void TearDown() override {
    Zel::traceSinkIs(nullptr);
    Zel::traceLevelsIs("Pinlamp", 0);
  }

  // Pin values in the order yellow, green, red, orange: "0100" is steady green.
  std::string pins() const {
    std::string out;
    for (auto const* colour :
         {&led_->gpioYellow(), &led_->gpioGreen(), &led_->gpioRed(), &led_->gpioOrange()}) {
      for (auto member : *colour) out += std::to_string(member.value->value());
    }
    return out;
  }

  Ptr<GpioLedStateMachine> machine() { return Pinlamp::GpioLedStateMachineIs(led_, config_); }

  // What another agent does: publish a new setting; the machine hears of it from the loop.
  void show(Led::LightSetting const& setting) {
    config_->lightSettingIs(setting);
    loop_->runPending();
  }

  void advanceTo(double time) { loop_->advance(time - Zel::System::currentTime()); }

  Texts traces(int level) const { return sink_.texts("Pinlamp", level); }

  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::virtualTime};
  Zel::CapturingTraceSink sink_;
  Ptr<CorvelGpioLedSystemConfigDir> ledSystem_ =
      Zel::allocate<CorvelGpioLedSystemConfigDir>("ledSystem");
  Ptr<CorvelGpioLedConfig> led_;
  Ptr<LedConfig> config_ = Zel::allocate<LedConfig>("Led1");
};

}  // namespace PinlampTest
