#include <cmath>
#include <limits>

#include "tests/statemachine/LedFixture.h"

namespace PinlampTest {
namespace {

using FlashTimingTest = LedFixture;

TEST_F(FlashTimingTest, RedFlashesAtHalfSecondPhases) {
  show(lit("r", 0.5));
  Ptr<GpioLedStateMachine> machine = this->machine();
  EXPECT_EQ(pins(), "0000");
  EXPECT_EQ(machine->clockReactor()->timeMin(), 0.5);

  for (int cycle = 0; cycle < 3; ++cycle) {
    SCOPED_TRACE(cycle);
    advanceTo(cycle + 0.5);
    EXPECT_EQ(pins(), "0010");
    EXPECT_TRUE(machine->flashingState());
    advanceTo(cycle + 0.99);
    EXPECT_EQ(pins(), "0010");
    advanceTo(cycle + 1.0);
    EXPECT_EQ(pins(), "0000");
    EXPECT_FALSE(machine->flashingState());
    EXPECT_EQ(machine->clockReactor()->timeMin(), cycle + 1.5);
  }
  EXPECT_EQ(phases(), (Texts{"Led Led1 is now 1", "Led Led1 is now 0", "Led Led1 is now 1",
                             "Led Led1 is now 0", "Led Led1 is now 1", "Led Led1 is now 0"}));
  Texts const level8 = traces(8);
  ASSERT_GE(level8.size(), 2u);
  EXPECT_EQ(level8[0], "handleLedSystemConfig Led1 [red flash 0.5s]Config: ledSystem");
  EXPECT_EQ(level8[1], "handleClockTimeout for Led1");
}

// The same colours with an interval are a different setting.
TEST_F(FlashTimingTest, SteadyRedThenFlashingRedStartsFlashing) {
  show(lit("r"));
  Ptr<GpioLedStateMachine> machine = this->machine();
  show(lit("r", 0.5));
  advanceTo(1.0);
  EXPECT_EQ(pins(), "0000");
  EXPECT_EQ(machine->clockReactor()->timeMin(), 1.5);
}

TEST_F(FlashTimingTest, SteadySettingShowsAtOnceAndTheNextTickOnlyStopsTheTimer) {
  show(lit("r", 0.5));
  Ptr<GpioLedStateMachine> machine = this->machine();
  advanceTo(0.5);
  advanceTo(0.7);
  show(lit("y"));
  EXPECT_EQ(pins(), "1000");
  EXPECT_EQ(machine->clockReactor()->timeMin(), 1.0);

  sink_.clear();
  advanceTo(1.0);
  EXPECT_EQ(pins(), "1000");
  EXPECT_FALSE(machine->flashingState());
  EXPECT_EQ(machine->clockReactor()->timeMin(), Zel::Clock::kNever);
  EXPECT_EQ(traces(8), Texts{"handleClockTimeout for Led1"});
  EXPECT_TRUE(traces(9).empty());
}

TEST_F(FlashTimingTest, ChangesWhileFlashingShowAtTheNextTickWithoutRestartingTheTimer) {
  show(lit("r", 0.5));
  Ptr<GpioLedStateMachine> machine = this->machine();
  advanceTo(0.2);
  show(lit("g", 1.0));
  EXPECT_EQ(machine->clockReactor()->timeMin(), 0.5);
  EXPECT_EQ(pins(), "0000");

  advanceTo(0.5);
  EXPECT_EQ(pins(), "0100");
  EXPECT_EQ(machine->clockReactor()->timeMin(), 1.5);
  advanceTo(1.49);
  EXPECT_EQ(pins(), "0100");
  advanceTo(1.5);
  EXPECT_EQ(pins(), "0000");
}

// The phase is never reset after initialisation: a period stopped after an even number of ticks
// leaves the stopping tick's lit phase behind, so the next period starts dark.
TEST_F(FlashTimingTest, NextFlashingPeriodCarriesThePhaseOver) {
  show(lit("r", 0.5));
  Ptr<GpioLedStateMachine> machine = this->machine();
  advanceTo(1.0);
  show(lit("r"));
  advanceTo(1.5);
  EXPECT_TRUE(machine->flashingState());
  EXPECT_EQ(pins(), "0010");

  advanceTo(2.0);
  show(lit("r", 0.5));
  advanceTo(2.5);
  EXPECT_EQ(pins(), "0000");
  advanceTo(3.0);
  EXPECT_EQ(pins(), "0010");
  EXPECT_EQ(phases(), (Texts{"Led Led1 is now 1", "Led Led1 is now 0", "Led Led1 is now 0",
                             "Led Led1 is now 1"}));
}

TEST_F(FlashTimingTest, TwoLedsKeepTheirOwnPhases) {
  Ptr<CorvelGpioLedConfig> led2 = outputFor("Led2", "2");
  Ptr<LedConfig> config2 = Zel::allocate<LedConfig>("Led2");
  show(lit("r", 0.5));
  Ptr<GpioLedStateMachine> first = this->machine();
  advanceTo(0.25);
  show(lit("r", 0.5), config2);
  Ptr<GpioLedStateMachine> second = Pinlamp::GpioLedStateMachineIs(led2, config2);

  struct Step {
    double time;
    char const* first;
    char const* second;
  };
  Step const steps[] = {{0.5, "0010", "0000"},
                        {0.75, "0010", "0010"},
                        {1.0, "0000", "0010"},
                        {1.25, "0000", "0000"},
                        {1.5, "0010", "0000"}};
  for (Step const& step : steps) {
    SCOPED_TRACE(step.time);
    advanceTo(step.time);
    EXPECT_EQ(pins(led_), step.first);
    EXPECT_EQ(pins(led2), step.second);
  }
}

TEST_F(FlashTimingTest, TickBeforeInitialisationIsIgnored) {
  show(lit("r", 0.5));
  Ptr<GpioLedStateMachine> machine = this->machine();
  machine->initializedIs(false);
  sink_.clear();

  machine->handleClockTimeout();
  EXPECT_FALSE(machine->flashingState());
  EXPECT_EQ(machine->clockReactor()->timeMin(), 0.5);
  EXPECT_EQ(pins(), "0000");
  EXPECT_TRUE(sink_.records().empty());
}

TEST_F(FlashTimingTest, InitialisingAgainRestartsThePhaseAndTheCadence) {
  show(lit("r", 0.5));
  Ptr<GpioLedStateMachine> machine = this->machine();
  advanceTo(0.7);
  ASSERT_TRUE(machine->flashingState());
  machine->initializedIs(false);
  machine->handleInitialized();
  EXPECT_FALSE(machine->flashingState());
  EXPECT_EQ(machine->clockReactor()->timeMin(), 1.2);
}

TEST_F(FlashTimingTest, IntervalThatIsNotANumberCountsAsFlashing) {
  show(lit("g"));
  Ptr<GpioLedStateMachine> machine = this->machine();
  show(lit("r", std::numeric_limits<double>::quiet_NaN()));
  EXPECT_EQ(pins(), "0100");
  EXPECT_TRUE(std::isnan(machine->clockReactor()->timeMin()));
  advanceTo(100.0);
  EXPECT_EQ(pins(), "0100");
}

TEST_F(FlashTimingTest, FlashingWithoutClockStopsTheProcess) {
  Ptr<GpioLedStateMachine> machine = this->machine();
  machine->clockDel();
  EXPECT_DEATH(machine->handleLedSystemConfig("Led1", lit("r", 0.5)), "Assertion `clock_' failed");
}

TEST_F(FlashTimingTest, FlashingWithoutOutputConfigurationStopsTheProcess) {
  show(lit("r", 0.5));
  Ptr<GpioLedStateMachine> machine = Pinlamp::GpioLedStateMachineIs(nullptr, config_);
  EXPECT_DEATH(loop_->advance(0.5), "Assertion `led' failed");
}

}  // namespace
}  // namespace PinlampTest
