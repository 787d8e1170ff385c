// The model's keyed Del mutators hand back what they removed, and nothing for a key they did not
// hold, so that a caller can tell a removal from a no-op.
#include <gtest/gtest.h>

#include <optional>

#include "platform/model/CorvelGpioLedSystemConfigDir.h"
#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/model/LedSystemConfigDir.h"
#include "platform/zel/Allocate.h"

namespace {

using namespace Hardware::Gpio;
using namespace Hardware::Led;

TEST(KeyedDelTest, EachKeyedDelReturnsTheRemovedValueOrNothing) {
  Zel::Ptr<LedSystemConfigDir> const leds = Zel::allocate<LedSystemConfigDir>("config");
  Zel::Ptr<LedConfig> const led = leds->ledsIs("Led1");
  leds->themeIs("night", "dim");
  EXPECT_EQ(leds->themeDel("night"), std::optional<Zel::String>("dim"));
  EXPECT_EQ(leds->themeDel("night"), std::nullopt);
  Led::LightSetting locate;
  locate.red = true;
  locate.flashInterval = 0.5;
  led->modeIs("locate", locate);
  EXPECT_EQ(led->modeDel("locate"), std::optional<Led::LightSetting>(locate));
  EXPECT_EQ(led->modeDel("locate"), std::nullopt);
  EXPECT_EQ(leds->ledsDel("Led1"), led);
  EXPECT_EQ(leds->ledsDel("Led1"), nullptr);

  Zel::Ptr<GpioLedSystemConfigDir> const mappings = Zel::allocate<GpioLedSystemConfigDir>("led");
  Zel::Ptr<GpioLedConfig> const mapping = mappings->gpioLedsIs("Led1");
  // A flag stored as false is still a member: the removal returns false, not nothing.
  mapping->gpioRedNameIs("p1", false);
  EXPECT_EQ(mapping->gpioRedNameDel("p1"), std::optional<bool>(false));
  EXPECT_EQ(mapping->gpioRedNameDel("p1"), std::nullopt);
  EXPECT_EQ(mappings->gpioLedsDel("Led1"), mapping);
  EXPECT_EQ(mappings->gpioLedsDel("Led1"), nullptr);

  Zel::Ptr<CorvelGpioLedSystemConfigDir> const outputs =
      Zel::allocate<CorvelGpioLedSystemConfigDir>("ledSystem");
  Zel::Ptr<CorvelGpioLedConfig> const output = outputs->gpioLedsIs("Led1");
  Zel::Ptr<CorvelPinConfig> const pin = Zel::allocate<CorvelPinConfig>("p1");
  output->gpioOrangeIs(pin);
  EXPECT_EQ(output->gpioGreenDel("p1"), nullptr);
  EXPECT_EQ(output->gpioOrangeDel("p1"), pin);
  EXPECT_EQ(output->gpioOrangeDel("p1"), nullptr);
}

}  // namespace
