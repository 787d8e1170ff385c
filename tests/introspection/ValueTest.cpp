// Wrapped values and arguments: what a request may carry, and what is refused.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>

#include "platform/model/CorvelPinConfig.h"
#include "platform/model/LedConfig.h"
#include "platform/model/LightSettingValueKind.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Exception.h"
#include "platform/zel/generic/Arguments.h"

namespace PinlampTest {
namespace {

using namespace Zel::GenericIf;

TEST(ValueTest, UnwrapsWhereNothingIsLost) {
  EXPECT_TRUE(Value(1).asBool());
  EXPECT_EQ(Value(7u).asInt(), 7);
  EXPECT_EQ(Value(7).asU32(), 7u);
  EXPECT_EQ(Value(3).asDouble(), 3.0);
  EXPECT_EQ(Value(Zel::Name("Led1")).asString(), Zel::String("Led1"));
  EXPECT_EQ(Value("Led1").asName(), Zel::Name("Led1"));
  EXPECT_EQ(Value().asObject(), nullptr);
  auto const pin = Zel::allocate<Hardware::Gpio::CorvelPinConfig>("P1");
  EXPECT_EQ(Value(pin).asPtr<Hardware::Gpio::CorvelPinConfig const>(), pin);
  EXPECT_EQ(Value(nullptr).asPtr<Hardware::Led::LedConfig>(), nullptr);
}

TEST(ValueTest, RefusesWhatWouldLoseOrInventInformation) {
  auto const pin = Zel::allocate<Hardware::Gpio::CorvelPinConfig>("P1");
  std::function<void()> const refused[] = {
      [] { Value(-1).asUnsigned(); },
      [] { Value(std::numeric_limits<std::uint64_t>::max()).asInt(); },
      [] { Value(std::uint64_t{1} << 32).asU32(); },
      [] { Value(0.5).asInt(); },
      [] { Value("true").asBool(); },
      [] { Value(true).asObject(); },
      [] { Value().asName(); },
      [] { Value(1).as<::Led::LightSetting>(); },
      [&] { Value(pin).asPtr<Hardware::Led::LedConfig>(); },
  };
  for (std::size_t i = 0; i < std::size(refused); ++i) {
    EXPECT_THROW(refused[i](), Zel::RangeException) << "case " << i;
  }
}

TEST(ArgumentsTest, FindsByNameFirstThenByPosition) {
  Arguments const args{{"value", 1}, Value(2), {"led", 3}};
  EXPECT_EQ(args.at(0, "led"), Value(3));
  EXPECT_EQ(args.at(1, "other"), Value(2));
  EXPECT_EQ(args.find(0, "missing"), nullptr);  // position 0 is taken by a named argument
  EXPECT_THROW(args.at(5, "missing"), Zel::RangeException);
}

}  // namespace
}  // namespace PinlampTest
