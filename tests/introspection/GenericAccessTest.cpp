// Reading and driving a running agent's objects by name, checked against their own state.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "platform/zel/Exception.h"
#include "tests/introspection/IntrospectionFixture.h"

namespace PinlampTest {
namespace {

using namespace Zel::GenericIf;

class GenericAccessTest : public IntrospectionFixture {
 protected:
  // Everything a refused request could have touched.
  std::string snapshot() {
    std::string state = pins();
    state += machine().flashingState() ? " lit" : " dark";
    state += machine().initialized() ? " initialized" : " uninitialized";
    state += " " + Value(agent().configReactor()).text();
    state += " " + std::to_string(reactor().gpioLedStateMachine().size());
    state += " " + Value(world_.ledDir()->leds("Led1")->lightSetting()).text();
    state += " clock:" + Value(machine().clock()).text();
    return state;
  }
};

TEST_F(GenericAccessTest, InvokesHandlersWithNamedOrPositionalArguments) {
  Value const led(world_.output("Led1"));
  invoke(machine(), "handleCorvelGpioRed", {{"value", 1}, {"led", led}});
  EXPECT_EQ(pins(), "0110");
  invoke(machine(), "handleCorvelGpioGreen", {led, 0u});
  EXPECT_EQ(pins(), "0010");
  invoke(machine(), "handleLedSystemConfig", {Zel::Name("Led1"), setting("yo")});
  EXPECT_EQ(pins(), "1001");

  world_.setLed("Led1", setting("r", 0.5));
  world_.runPending();
  EXPECT_EQ(pins(), "1001");  // a flashing setting shows at the first tick
  invoke(machine(), "handleClockTimeout");
  EXPECT_TRUE(machine().flashingState());
  EXPECT_EQ(pins(), "0010");
  invoke(machine(), "handleClockTimeout");
  EXPECT_FALSE(machine().flashingState());
  EXPECT_EQ(pins(), "0000");
}

TEST_F(GenericAccessTest, IteratesAndDeletesTheStateMachinesByKey) {
  world_.publishMapping("Led2", {{"Y2"}, {}, {}, {}});
  world_.setLed("Led2", setting("y"));
  world_.runPending();

  Members members = iterate(reactor(), "gpioLedStateMachine");
  ASSERT_EQ(members.size(), 2u);
  std::sort(members.begin(), members.end(),
            [](Member const& a, Member const& b) { return a.key < b.key; });
  EXPECT_EQ(members[0], (Member{"Led1", Value(reactor().gpioLedStateMachine("Led1"))}));
  EXPECT_EQ(members[1], (Member{"Led2", Value(reactor().gpioLedStateMachine("Led2"))}));
  EXPECT_EQ(get(reactor(), "gpioLedStateMachine", "Led2"), members[1].value);
  EXPECT_TRUE(get(reactor(), "gpioLedStateMachine", "Led9").isEmpty());

  EXPECT_EQ(del(reactor(), "gpioLedStateMachine", "Led2"), members[1].value);
  EXPECT_EQ(world_.machine("Led2"), nullptr);
  EXPECT_TRUE(del(reactor(), "gpioLedStateMachine", "Led2").isEmpty());
}

TEST_F(GenericAccessTest, SetsAndDeletesTheConfigReactorWithItsThreeValues) {
  Zel::Ptr<Pinlamp::ConfigReactor> const first = agent().configReactor();
  Arguments const values{world_.mappingDir(), world_.ledDir(), world_.pinDir()};

  EXPECT_EQ(set(agent(), "configReactor", values), Value(first));
  EXPECT_EQ(agent().configReactor(), first);

  EXPECT_EQ(del(agent(), "configReactor"), Value(first));
  EXPECT_EQ(agent().configReactor(), nullptr);
  EXPECT_FALSE(first->hasNotificationActive());

  Value const second = set(agent(), "configReactor",
                           {{"gpioPinConfigDir", world_.pinDir()},
                            {"hwLedConfigDir", world_.ledDir()},
                            {"gpioLedSystemConfigDir", world_.mappingDir()}});
  EXPECT_EQ(second, Value(agent().configReactor()));
  EXPECT_NE(agent().configReactor(), first);
  EXPECT_NE(world_.machine("Led1"), nullptr);
}

TEST_F(GenericAccessTest, RefusedOperationsRaiseAndChangeNothing) {
  Value const led(world_.output("Led1"));
  struct Case {
    char const* what;
    std::function<void()> request;
  };
  Case const refused[] = {
      {"set of a read-only value", [&] { set(machine(), "name", Zel::Name("x")); }},
      {"set of a read-only pointer", [&] { set(machine(), "corvelGpioLedConfig", led); }},
      {"invoke of a value", [&] { invoke(machine(), "flashingState"); }},
      {"delete of a value", [&] { del(machine(), "flashingState"); }},
      {"delete of a pin value", [&] { del(*world_.pin("G1"), "value"); }},
      {"get of a procedure", [&] { get(machine(), "handleClockTimeout"); }},
      {"set of a procedure", [&] { set(reactor(), "createDriver", Zel::Name("Led1")); }},
      {"unknown name, get", [&] { get(machine(), "brightness"); }},
      {"unknown name, invoke", [&] { invoke(reactor(), "handleEverything"); }},
      {"whole collection get", [&] { get(reactor(), "gpioLedStateMachine"); }},
      {"whole collection delete", [&] { del(reactor(), "gpioLedStateMachine"); }},
      {"member of a value", [&] { get(machine(), "flashingState", "Led1"); }},
      {"iterate of a value", [&] { iterate(machine(), "flashingState"); }},
  };
  std::string const before = snapshot();
  for (Case const& c : refused) {
    EXPECT_THROW(c.request(), Zel::OperationNotSupportedException) << c.what;
    EXPECT_EQ(snapshot(), before) << c.what;
  }
}

TEST_F(GenericAccessTest, ValuesOfTheWrongKindAreRefusedBeforeAnythingChanges) {
  Value const led(world_.output("Led1"));
  struct Case {
    char const* what;
    std::function<void()> request;
  };
  Case const refused[] = {
      {"name for a bool", [&] { set(machine(), "flashingState", Zel::Name("on")); }},
      {"missing second argument", [&] { invoke(machine(), "handleCorvelGpioRed", {led}); }},
      {"pin value too wide",
       [&] {
         invoke(machine(), "handleCorvelGpioRed", {led, 1ull << 40});
       }},
      {"entity of another type",
       [&] {
         invoke(machine(), "handleCorvelGpioRed", {world_.pin("R1"), 1});
       }},
      {"bool for a directory",
       [&] {
         set(agent(), "configReactor", {true, world_.ledDir(), world_.pinDir()});
       }},
      {"no light setting",
       [&] {
         invoke(machine(), "handleLedSystemConfig", {"Led1", 3});
       }},
  };
  std::string const before = snapshot();
  for (Case const& c : refused) {
    EXPECT_THROW(c.request(), Zel::RangeException) << c.what;
    EXPECT_EQ(snapshot(), before) << c.what;
  }
}

TEST_F(GenericAccessTest, WalksFromTheAgentToAPinByNamesOnly) {
  EXPECT_EQ(walk(agent(),
                 "configReactor/gpioLedStateMachine/Led1/corvelGpioLedConfig/gpioGreen/"
                 "G1/value"),
            Value(1u));
  EXPECT_EQ(walk(agent(), "gpioPinConfigDir/entries/Y1/value"), Value(0u));

  Value const config = walk(agent(), "hwLedConfigDir/leds/Led1");
  set(objectOf(config), "lightSetting", setting("r"));
  world_.runPending();
  EXPECT_EQ(pins(), "0010");
  EXPECT_EQ(walk(agent(), "configReactor/corvelLedSystemConfig/gpioLeds/Led1/gpioRed/R1/value"),
            Value(1u));

  EXPECT_THROW(walk(agent(), "configReactor/gpioLedStateMachine"), Zel::RangeException);
  EXPECT_THROW(walk(agent(), "configReactor/gpioLedStateMachine/Led9/name"), Zel::RangeException);
}

TEST_F(GenericAccessTest, EditsAMappingsPinNamesAndAPinsValueThroughTheModelTables) {
  Hardware::Gpio::GpioLedConfig& mapping = *world_.mappingOf("Led1");
  EXPECT_EQ(iterate(mapping, "gpioGreenName"), (Members{{"G1", true}}));
  set(mapping, "gpioGreenName", "G9", false);
  EXPECT_EQ(mapping.gpioGreenName().size(), 2u);
  EXPECT_EQ(get(mapping, "gpioGreenName", "G9"), Value(false));
  EXPECT_EQ(del(mapping, "gpioGreenName", "G9"), Value(false));
  EXPECT_FALSE(mapping.gpioGreenName().contains("G9"));
  EXPECT_EQ(get(mapping, "ready"), Value(true));

  Hardware::Gpio::CorvelPinConfig& pin = *world_.pin("O1");
  EXPECT_EQ(set(pin, "value", 1u), Value(1u));
  EXPECT_EQ(pin.value(), 1u);
}

}  // namespace
}  // namespace PinlampTest
