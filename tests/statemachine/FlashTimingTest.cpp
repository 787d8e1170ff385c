#include <cstdint>
#include <set>
#include <string>
#include <utility>

#include "tests/statemachine/LedFixture.h"

namespace PinlampTest {
namespace {

using FlashTimingTest = LedFixture;

// The same colours with an interval are a different setting.
TEST_F(FlashTimingTest, SteadyRedThenFlashingRedStartsFlashing) {
  show(lit("r"));
  Ptr<GpioLedStateMachine> machine = this->machine();
  show(lit("r", 0.5));
  advanceTo(1.0);
  EXPECT_EQ(pins(), "0000");
  EXPECT_EQ(machine->clockReactor()->timeMin(), 1.5);
}

// Cadence and pins are followed by the model-based run; the records, their texts and their line
// numbers (part of the trace output format) are not.
TEST_F(FlashTimingTest, EveryKindOfRecordCarriesItsTextAndFixedLine) {
  show(lit("r", 0.5));
  Ptr<GpioLedStateMachine> machine = this->machine();
  advanceTo(1.0);

  std::set<std::pair<std::string, std::uint32_t>> traced;
  Texts phases;
  for (Zel::TraceRecord const& record : sink_.records()) {
    traced.emplace(record.text, record.line);
    if (record.text.starts_with("Led ")) phases.push_back(record.text);
  }
  EXPECT_EQ(phases, (Texts{"Led Led1 is now 1", "Led Led1 is now 0"}));
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
