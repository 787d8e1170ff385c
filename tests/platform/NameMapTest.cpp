#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/zel/NameMap.h"

namespace {

using Map = Zel::NameMap<int>;

Zel::Name keyOf(int i) {
  return Zel::Name("Ethernet" + std::to_string(i));
}

void fill(Map& map, int count) {
  for (int i = 0; i < count; ++i) map.insert(keyOf(i), i + 1);
}

// How often each key was visited by one walk.
std::map<std::string, int> visits(Map const& map) {
  std::map<std::string, int> seen;
  for (auto member : map) ++seen[member.key.stdString()];
  return seen;
}

TEST(NameMapTest, ReplacingHandsBackTheOldValueAndMissingKeysGiveNothing) {
  Map map;
  EXPECT_EQ(map.insert("Fan1", 1), 0);
  EXPECT_EQ(map.insert("Fan1", 2), 1);
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(map.take("Fan1"), 2);
  EXPECT_EQ(map.take("Fan1"), 0);
  EXPECT_FALSE(map.erase("Fan1"));
  EXPECT_EQ(map.find("Fan1"), nullptr);
}

// Sizes on both sides of the point where the map starts keeping a key index.
class NameMapSizeTest : public testing::TestWithParam<int> {};

TEST_P(NameMapSizeTest, FindsEveryMemberThroughRemovalsAndReinsertion) {
  int const count = GetParam();
  Map map;
  fill(map, count);
  ASSERT_EQ(map.size(), static_cast<std::size_t>(count));

  for (int i = 0; i < count; i += 3) EXPECT_EQ(map.take(keyOf(i)), i + 1);
  for (int i = 0; i < count; ++i) {
    Zel::Name const key = keyOf(i);
    if (i % 3 == 0) {
      EXPECT_FALSE(map.contains(key)) << key.stdString();
    } else {
      ASSERT_NE(map.find(key), nullptr) << key.stdString();
      EXPECT_EQ(*map.find(key), i + 1);
    }
  }

  for (int i = 0; i < count; i += 3) map.insert(keyOf(i), -i);
  EXPECT_EQ(map.size(), static_cast<std::size_t>(count));
  auto const seen = visits(map);
  EXPECT_EQ(seen.size(), static_cast<std::size_t>(count));
  for (auto const& [key, times] : seen) EXPECT_EQ(times, 1) << key;
}

TEST_P(NameMapSizeTest, StaysCorrectUnderLongChurn) {
  // Many rounds of adding and removing leave removed keys behind in the index.
  int const count = GetParam();
  Map map;
  fill(map, count);
  for (int round = 1; round <= 30; ++round) {
    for (int i = 0; i < count; ++i) map.insert(keyOf(round * 100000 + i), i);
    for (int i = 0; i < count; ++i)
      ASSERT_EQ(map.take(keyOf((round - 1) * 100000 + i)), round == 1 ? i + 1 : i);
  }
  EXPECT_EQ(map.size(), static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) ASSERT_TRUE(map.contains(keyOf(30 * 100000 + i)));
}

TEST_P(NameMapSizeTest, RemovingTheCurrentMemberDuringAWalk) {
  Map map;
  fill(map, GetParam());
  std::multiset<std::string> walked;
  for (auto it = map.begin(); it != map.end(); ++it) {
    walked.insert(it.key().stdString());
    map.take(it.key());
  }
  EXPECT_EQ(walked.size(), static_cast<std::size_t>(GetParam()));
  EXPECT_EQ(std::set<std::string>(walked.begin(), walked.end()).size(), walked.size());
  EXPECT_TRUE(map.empty());
}

TEST_P(NameMapSizeTest, ClearingDuringAWalkEndsIt) {
  Map map;
  fill(map, GetParam());
  int walked = 0;
  for (auto it = map.begin(); it != map.end(); ++it) {
    if (++walked == 2) map.clear();
  }
  EXPECT_EQ(walked, 2);
  EXPECT_TRUE(visits(map).empty());
  map.insert("Status", 9);
  EXPECT_EQ(map.size(), 1u);
}

TEST_P(NameMapSizeTest, ShrinkingWaitsForTheWalkAndKeepsEveryRemainingMember) {
  int const count = GetParam();
  Map map;
  fill(map, count);
  std::size_t const fullSlots = map.slotCount();
  std::map<std::string, int> walked;
  for (auto it = map.begin(); it != map.end(); ++it) {
    ++walked[it.key().stdString()];
    if (walked.size() != 1) continue;
    for (int i = 1; i < count; ++i) {  // all but every eighth member, under the walk
      if (i % 8 != 0) map.erase(keyOf(i));
    }
    EXPECT_EQ(map.slotCount(), fullSlots);
  }
  int const kept = (count + 7) / 8;
  EXPECT_EQ(walked.size(), static_cast<std::size_t>(kept));
  for (auto const& [key, times] : walked) EXPECT_EQ(times, 1) << key;
  map.take(keyOf(0));  // the first removal after the walk gives the space back
  if (count > 8) {
    EXPECT_LT(map.slotCount(), fullSlots / 4);
  }
  for (int i = 8; i < count; i += 8) {
    ASSERT_NE(map.find(keyOf(i)), nullptr) << i;
    EXPECT_EQ(*map.find(keyOf(i)), i + 1);
  }
  fill(map, count);
  EXPECT_EQ(visits(map).size(), static_cast<std::size_t>(count));
}

INSTANTIATE_TEST_SUITE_P(Sizes, NameMapSizeTest, testing::Values(3, 8, 9, 40, 5000));

// A large map stays O(1) per operation only if its index is rebuilt rarely: a rebuild costs the
// whole index, so one per insertion (a growth rule that never grows, tombstones never cleared)
// would make every insertion O(N) without any lookup going wrong.
TEST(NameMapCostTest, RebuildsItsIndexRarelyWhileGrowingAndUnderChurn) {
  int const count = 20000;
  Map map;
  auto const before = Map::indexBuildsInProcess();
  fill(map, count);
  // Doubling up to the first power of two above twice the members: about log2 of them.
  EXPECT_LE(Map::indexBuildsInProcess() - before, 15u);

  auto const grown = Map::indexBuildsInProcess();
  for (int i = 0; i < count; ++i) {
    map.insert(keyOf(count + i), i);
    ASSERT_EQ(map.take(keyOf(i)), i + 1);
  }
  // Tombstones fill the free quarter of the index at most once per that many removals.
  EXPECT_LE(Map::indexBuildsInProcess() - grown, 3u);
  for (int i = 0; i < count; i += 997) ASSERT_NE(map.find(keyOf(count + i)), nullptr);
}

}  // namespace
