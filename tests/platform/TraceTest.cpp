#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "platform/zel/ActivityManager.h"
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
    Zel::activityManagerIs(Zel::ActivityManager::TimeSource::virtualTime);
    savedLevels_ = Zel::traceLevels(kFacility);
    Zel::traceLevelsIs(kFacility, 0);
    Zel::traceSinkIs(&sink_);
  }
  void TearDown() override {
    Zel::traceSinkIs(nullptr);
    Zel::traceLevelsIs(kFacility, savedLevels_);
  }

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

TEST_F(TraceTest, AnEnabledLevelRecordsEveryField) {
  Zel::TraceHandle const handle(kFacility, false);
  Zel::traceLevelsIs(kFacility, 1u << 8);
  Zel::activityManager()->advance(12.25);  // records carry the loop's time
  ZEL_TRACE(handle, 8, "Pinlamp", 217, "handleClockTimeout", "Status flash " << 3 << " on");

  ASSERT_EQ(sink_.records().size(), 1u);
  Zel::TraceRecord const& r = sink_.records()[0];
  EXPECT_EQ(r.facility, kFacility);
  EXPECT_EQ(r.level, 8);
  EXPECT_EQ(r.source, "Pinlamp");
  EXPECT_EQ(r.line, 217u);
  EXPECT_EQ(r.function, "handleClockTimeout");
  EXPECT_EQ(r.text, "Status flash 3 on");
  EXPECT_EQ(r.time, 12.25);
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

TEST(StreamTraceSinkTest, FormatsOneLinePerRecord) {
  Zel::TraceRecord record{"Pinlamp", 6, "Pinlamp", 120, "writePin", "Fan1 green 1", 3.5};
  EXPECT_EQ(Zel::StreamTraceSink::formatLine(record),
            "3.500000 Pinlamp/6 Pinlamp:120 writePin: Fan1 green 1");
  record.time = 1234567.0000004;
  record.text = "";
  EXPECT_EQ(Zel::StreamTraceSink::formatLine(record),
            "1234567.000000 Pinlamp/6 Pinlamp:120 writePin: ");

  std::ostringstream out;
  Zel::StreamTraceSink(out).record(record);
  EXPECT_EQ(out.str(), "1234567.000000 Pinlamp/6 Pinlamp:120 writePin: \n");
}

struct LevelsCase {
  char const* text;
  bool valid;
  std::uint32_t levels;
};

std::ostream& operator<<(std::ostream& out, LevelsCase const& c) {
  return out << '"' << c.text << '"';
}

class ParseTraceLevelsTest : public testing::TestWithParam<LevelsCase> {};

TEST_P(ParseTraceLevelsTest, ParsesListsAndRangesAndRejectsTheRest) {
  constexpr std::uint32_t kUntouched = 0xdead;
  std::uint32_t levels = kUntouched;
  EXPECT_EQ(Zel::parseTraceLevels(GetParam().text, levels), GetParam().valid);
  EXPECT_EQ(levels, GetParam().valid ? GetParam().levels : kUntouched);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ParseTraceLevelsTest,
    testing::Values(
        LevelsCase{"0-9", true, 0x3ff}, LevelsCase{"3,6,8", true, 0x148},
        LevelsCase{"2,5-7", true, 0xe4}, LevelsCase{"all", true, ~0u},
        LevelsCase{"0-31", true, ~0u}, LevelsCase{"31", true, 1u << 31},
        LevelsCase{"4-4", true, 0x10}, LevelsCase{"", false, 0}, LevelsCase{"32", false, 0},
        LevelsCase{"0-32", false, 0}, LevelsCase{"5-3", false, 0}, LevelsCase{"-1", false, 0},
        LevelsCase{"-0-3", false, 0}, LevelsCase{"+3", false, 0}, LevelsCase{"3,", false, 0},
        LevelsCase{",3", false, 0}, LevelsCase{"3,,6", false, 0}, LevelsCase{"1-2-3", false, 0},
        LevelsCase{"3-", false, 0}, LevelsCase{" 3", false, 0}, LevelsCase{"3 ", false, 0},
        LevelsCase{"x", false, 0}, LevelsCase{"All", false, 0}));

}  // namespace
