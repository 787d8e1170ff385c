#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "utils/Lampwise.h"

namespace {

TEST(IsColorValidTest, AcceptsExactlyTheTextsOfTheEightColours) {
  struct {
    char const* text;
    bool valid;
  } const cases[] = {
      {"red", true},   {"purple", true}, {"amber", true},     {"Red", false},      {"red ", false},
      {" red", false}, {"", false},      {"Color(8)", false}, {"redgreen", false},
  };
  for (auto const& c : cases)
    EXPECT_EQ(Lampwise::isColorValid(c.text), c.valid) << '"' << c.text << '"';
}

TEST(RoundValTest, RoundsHalvesAwayFromZero) {
  struct {
    double value;
    int places;
    double rounded;
  } const cases[] = {
      {3.14159, 2, 3.14},
      {2.5, 0, 3.0},
      {-2.5, 0, -3.0},
      {1234.0, -2, 1200.0},
      {1250.0, -2, 1300.0},
      // 1.005 is stored just below the half, so plain double arithmetic rounds it down.
      {1.005, 2, 1.0},
  };
  for (auto const& c : cases)
    EXPECT_DOUBLE_EQ(Lampwise::roundVal(c.value, c.places), c.rounded)
        << c.value << " to " << c.places << " places";
}

TEST(RoundValTest, PassesNanAndInfinityThrough) {
  double const infinity = std::numeric_limits<double>::infinity();
  EXPECT_TRUE(std::isnan(Lampwise::roundVal(std::nan(""), 2)));
  EXPECT_EQ(Lampwise::roundVal(infinity, 2), infinity);
  EXPECT_EQ(Lampwise::roundVal(-infinity, 0), -infinity);
}

}  // namespace
