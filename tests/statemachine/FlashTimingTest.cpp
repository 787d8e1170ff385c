#include <cmath>
#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <utility>

#include "tests/statemachine/LedFixture.h"

namespace PinlampTest {
namespace {

using FlashTimingTest = LedFixture;

// Cadence and pins are followed by the model-based run; the phase records and the applied
// setting's text are not.
TEST_F(FlashTimingTest, EachTickRecordsTheNewPhase) {
  show(lit("r", 0.5));
  Ptr<GpioLedStateMachine> machine = this->machine();
  advanceTo(1.0);
  EXPECT_EQ(pins(), "0000");
  EXPECT_EQ(phases(), (Texts{"Led Led1 is now 1", "Led Led1 is now 0"}));
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

// The line numbers of the machine's records are part of the trace output format; no check of
// the texts would notice a wrong one.
TEST_F(FlashTimingTest, EveryKindOfRecordCarriesItsFixedLine) {
  show(lit("r", 0.5));
  Ptr<GpioLedStateMachine> machine = this->machine();
  advanceTo(0.5);

  std::set<std::pair<std::string, std::uint32_t>> traced;
  for (Zel::TraceRecord const& record : sink_.records()) traced.emplace(record.text, record.line);
  std::pair<std::string, std::uint32_t> const expected[] = {
      {"handleInitialized for Led1", 212},
      {"handleHwLedConfig Led1", 224},
      {"handleLedSystemConfig Led1 [red flash 0.5s]Config: ledSystem", 237},
      {"handleClockTimeout for Led1", 260},
      {"Led Led1 is now 1", 274},
      {"handleCorvelGpioYellow Led1", 286},
      {"handleCorvelGpioGreen Led1", 291},
      {"handleCorvelGpioRed Led1", 295},
      {"Corvel Red Pin: R1  OldValue: 0 NewValue: 1", 295},
      {"handleCorvelGpioOrange Led1", 300},
  };
  for (auto const& record : expected) {
    EXPECT_EQ(traced.count(record), 1u) << record.first << " at line " << record.second;
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
