#include "tests/statemachine/LedFixture.h"

namespace PinlampTest {
namespace {

using SteadySettingTest = LedFixture;

TEST_F(SteadySettingTest, NothingIsAppliedBeforeInitialisation) {
  show(lit("g"));
  Ptr<GpioLedStateMachine> machine = this->machine();
  machine->initializedIs(false);
  sink_.clear();

  show(lit("r"));
  machine->handleLedSystemConfig("Led1", lit("y"));
  EXPECT_EQ(pins(), "0100");
  EXPECT_TRUE(sink_.records().empty());
}

TEST_F(SteadySettingTest, MachineWithoutLedConfigurationWaitsForOne) {
  show(lit("g"));
  Ptr<GpioLedStateMachine> machine = Pinlamp::GpioLedStateMachineIs(led_, nullptr);
  EXPECT_EQ(machine->clockReactor()->timeMin(), Zel::Clock::kNever);
  EXPECT_EQ(pins(), "0000");

  // Watching a configuration applies nothing by itself; its next change does.
  machine->hwLedConfigIs(config_);
  loop_->runPending();
  EXPECT_EQ(pins(), "0000");
  show(lit("r"));
  EXPECT_EQ(pins(), "0010");

  EXPECT_EQ(machine->hwLedConfigDel(), config_);
  show(lit("y"));
  EXPECT_EQ(pins(), "0010");
}

// Neither of a machine's hooks, the setting and the clock, runs while it is silenced or retired.
TEST_F(SteadySettingTest, SilencedOrRetiredMachineReactsToNothing) {
  show(lit("g"));
  Ptr<GpioLedStateMachine> machine = this->machine();
  show(lit("y", 0.5));  // the first tick, due at 0.5, would light yellow
  machine->hasNotificationActiveIs(false);
  show(lit("r"));
  advanceTo(0.5);
  EXPECT_EQ(pins(), "0100");
  EXPECT_FALSE(machine->flashingState());

  machine->hasNotificationActiveIs(true);
  show(lit("y", 0.5));
  EXPECT_NE(machine->clockReactor()->timeMin(), Zel::Clock::kNever);
  machine->zelDoZombieReactors(true);
  show(lit("o"));
  advanceTo(2.0);
  EXPECT_EQ(pins(), "0100");
  EXPECT_FALSE(machine->flashingState());
}

TEST_F(SteadySettingTest, PublishingTheCurrentSettingAgainChangesNothing) {
  for (Led::LightSetting const& setting : {lit("g"), lit("r", 0.5)}) {
    show(setting);
    Ptr<GpioLedStateMachine> machine = this->machine();
    std::string const pinsBefore = pins();
    double const tickBefore = machine->clockReactor()->timeMin();
    sink_.clear();
    show(Led::LightSetting(setting));
    EXPECT_EQ(traces(6), Texts{});  // no pin written
    EXPECT_EQ(traces(8), Texts{});  // no setting applied
    EXPECT_EQ(pins(), pinsBefore);
    EXPECT_EQ(machine->clockReactor()->timeMin(), tickBefore);
  }
}

TEST_F(SteadySettingTest, SteadySettingWithoutOutputConfigurationIsDropped) {
  show(lit("g"));
  Ptr<GpioLedStateMachine> machine = Pinlamp::GpioLedStateMachineIs(nullptr, config_);
  EXPECT_EQ(traces(8), Texts{"handleLedSystemConfig  [green steady]Config: (null)"});
  EXPECT_EQ(pins(), "0000");
}

}  // namespace
}  // namespace PinlampTest
