#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/Trace.h"

namespace {

constexpr char kFacility[] = "PlatformTraceTest";

// Counts how often it is formatted into a trace message.
struct Counted {
  int* formatted;
};
std::ostream& operator<<(std::ostream& out, Counted const& c) {
  ++*c.formatted;
  return out << "counted";
}

class TraceTest : public testing::Test {
 protected:
  void SetUp() override {
    savedLevels_ = Zel::traceLevels(kFacility);
    Zel::traceLevelsIs(kFacility, 0);
    Zel::traceSinkIs(&sink_);
  }
  void TearDown() override {
    Zel::traceSinkIs(nullptr);
    Zel::traceLevelsIs(kFacility, savedLevels_);
  }

  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::virtualTime};
  Zel::CapturingTraceSink sink_;
  std::uint32_t savedLevels_ = 0;
};

TEST_F(TraceTest, ADisabledLevelFormatsNothing) {
  Zel::TraceHandle const handle(kFacility, false);
  Zel::traceLevelsIs(kFacility, 1u << 6);
  int formatted = 0;
  ZEL_TRACE(handle, 5, "Pinlamp", 10, "f", "value " << Counted{&formatted});
  ZEL_TRACE(handle, 7, "Pinlamp", 11, "f", "value " << Counted{&formatted});
  EXPECT_EQ(formatted, 0);
  EXPECT_TRUE(sink_.records().empty());

  ZEL_TRACE(handle, 6, "Pinlamp", 12, "f", "value " << Counted{&formatted});
  EXPECT_EQ(formatted, 1);
  EXPECT_EQ(sink_.texts(kFacility, 6), (std::vector<std::string>{"value counted"}));
}

// The sink's line shows every field of the record, the loop's time in fixed notation.
TEST_F(TraceTest, AnEnabledLevelRecordsEveryFieldAndTheSinkWritesThemOnOneLine) {
  Zel::TraceHandle const handle(kFacility, false);
  Zel::traceLevelsIs(kFacility, 1u << 8);
  loop_->advance(1234567.25);
  ZEL_TRACE(handle, 8, "Pinlamp", 217, "handleClockTimeout", "Status flash " << 3 << " on");
  ASSERT_EQ(sink_.records().size(), 1u);
  std::ostringstream out;
  Zel::StreamTraceSink(out).record(sink_.records()[0]);
  EXPECT_EQ(
      out.str(),
      "1234567.250000 PlatformTraceTest/8 Pinlamp:217 handleClockTimeout: Status flash 3 on\n");
}

TEST_F(TraceTest, LevelsAreSharedByNameAndBoundedToThirtyTwo) {
  Zel::TraceHandle const before(kFacility, false);
  Zel::traceLevelsIs(kFacility, 1u << 3);
  Zel::TraceHandle const after(kFacility, false);
  EXPECT_TRUE(before.isEnabled(3));
  EXPECT_TRUE(after.isEnabled(3));
  EXPECT_FALSE(after.isEnabled(4));

  Zel::TraceHandle const all(kFacility, true);  // turns every level on, for every handle
  EXPECT_TRUE(before.isEnabled(0) && before.isEnabled(31));
  EXPECT_FALSE(before.isEnabled(32) || before.isEnabled(-1));
}

struct LevelsCase {
  char const* text;
  bool valid;
  std::uint32_t levels;
};

TEST(ParseTraceLevelsTest, ParsesListsAndRangesAndRejectsTheRest) {
  LevelsCase const cases[] = {{"3,6,8", true, 0x148}, {"2,5-7", true, 0xe4}, {"all", true, ~0u},
                              {"0-31", true, ~0u},    {"4-4", true, 0x10},   {"", false, 0},
                              {"32", false, 0},       {"5-3", false, 0},     {"-1", false, 0},
                              {"3,", false, 0},       {"1-2-3", false, 0},   {" 3", false, 0},
                              {"All", false, 0}};
  for (LevelsCase const& c : cases) {
    std::uint32_t levels = 0xdead;  // a refused text leaves the levels alone
    EXPECT_EQ(Zel::parseTraceLevels(c.text, levels), c.valid) << c.text;
    EXPECT_EQ(levels, c.valid ? c.levels : 0xdeadu) << c.text;
  }
}

}  // namespace
