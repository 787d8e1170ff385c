#include "tests/statemachine/LedFixture.h"

namespace PinlampTest {
namespace {

using Writer = void (GpioLedStateMachine::*)(Ptr<CorvelGpioLedConfig> const&, Hardware::Gpio::U32);

class PinWriterTest : public LedFixture {
 protected:
  // Without an LED configuration the machine writes nothing by itself.
  Ptr<GpioLedStateMachine> writer_ = Pinlamp::GpioLedStateMachineIs(led_, nullptr);
};

struct WriterRow {
  Writer writer;
  char const* entryTrace;
  std::string pinsAfter;
  char const* changeTrace;
};

TEST_F(PinWriterTest, EachWriterSetsOnlyItsOwnColourAndTracesTheChange) {
  WriterRow const rows[] = {
      {&GpioLedStateMachine::handleCorvelGpioYellow, "handleCorvelGpioYellow Led1", "7000",
       "Corvel Yellow Pin: Y1  OldValue: 0 NewValue: 7"},
      {&GpioLedStateMachine::handleCorvelGpioGreen, "handleCorvelGpioGreen Led1", "0700",
       "Corvel Green Pin: G1  OldValue: 0 NewValue: 7"},
      {&GpioLedStateMachine::handleCorvelGpioRed, "handleCorvelGpioRed Led1", "0070",
       "Corvel Red Pin: R1  OldValue: 0 NewValue: 7"},
      {&GpioLedStateMachine::handleCorvelGpioOrange, "handleCorvelGpioOrange Led1", "0007",
       "Corvel Orange Pin: O1  OldValue: 0 NewValue: 7"},
  };
  for (WriterRow const& row : rows) {
    SCOPED_TRACE(row.entryTrace);
    sink_.clear();
    // Any value is written as given and printed as a number.
    ((*writer_).*row.writer)(led_, 7);
    EXPECT_EQ(pins(), row.pinsAfter);
    EXPECT_EQ(traces(9), Texts{row.entryTrace});
    EXPECT_EQ(traces(6), Texts{row.changeTrace});
    ((*writer_).*row.writer)(led_, 0);
  }
}

TEST_F(PinWriterTest, OnlyPinsWhoseValueDiffersAreWrittenAndTraced) {
  Ptr<CorvelPinConfig> lit = Zel::allocate<CorvelPinConfig>("G2");
  lit->valueIs(1);
  led_->gpioGreenIs(lit);
  writer_->handleCorvelGpioGreen(led_, 1);
  EXPECT_EQ(pins(), "01100");  // yellow, green G1 and G2, red, orange
  EXPECT_EQ(traces(6), Texts{"Corvel Green Pin: G1  OldValue: 0 NewValue: 1"});

  sink_.clear();
  writer_->handleCorvelGpioGreen(led_, 1);
  EXPECT_EQ(traces(9), Texts{"handleCorvelGpioGreen Led1"});
  EXPECT_TRUE(traces(6).empty());
}

}  // namespace
}  // namespace PinlampTest
