#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>

#include "platform/cell/Cell.h"
#include "utils/Lampwise.h"

namespace {

struct LedNameCase {
  char const* name;
  std::uint32_t cell;
  std::uint16_t device;
};

std::ostream& operator<<(std::ostream& out, LedNameCase const& c) {
  return out << '"' << c.name << "\" on cell " << c.cell;
}

class LedToDeviceTest : public testing::TestWithParam<LedNameCase> {
 protected:
  void SetUp() override { Cell::cellIdIs(GetParam().cell); }
  void TearDown() override { Cell::cellIdIs(1); }
};

TEST_P(LedToDeviceTest, ClassifiesByFirstMatchingPrefix) {
  EXPECT_EQ(Lampwise::ledToDevice(GetParam().name), GetParam().device);
}

// Prefixes are case-sensitive, must stand at the very start, and the first matching one wins even
// when a later, longer prefix would also fit.
INSTANTIATE_TEST_SUITE_P(
    Overlaps, LedToDeviceTest,
    testing::Values(LedNameCase{"ethernet1", 1, 0x0000}, LedNameCase{"Ether", 1, 0x0000},
                    LedNameCase{" Ethernet1", 1, 0x0000}, LedNameCase{"LineCard1", 1, 0x0000},
                    LedNameCase{"MultiLinecard1", 1, 0x0000},
                    LedNameCase{"MultiPowerSupply1", 1, 0x0200},
                    LedNameCase{"PowerSupplyMulti", 1, 0x0004},
                    LedNameCase{"FanMultiFan", 1, 0x0002}, LedNameCase{"StatusActive1", 1, 0x0008},
                    LedNameCase{"ActiveFan", 1, 0x0400}));

// Only the Active LED carrying this cell's own number, without padding, is the own one.
INSTANTIATE_TEST_SUITE_P(
    ActiveCell, LedToDeviceTest,
    testing::Values(LedNameCase{"Active1", 1, 0x0010}, LedNameCase{"Active2", 1, 0x0400},
                    LedNameCase{"Active01", 1, 0x0400}, LedNameCase{"Active", 1, 0x0400},
                    LedNameCase{"Active1 ", 1, 0x0400}, LedNameCase{"Active12", 12, 0x0010},
                    LedNameCase{"Active1", 12, 0x0400}, LedNameCase{"Active2", 12, 0x0400},
                    LedNameCase{"Active4464", 70000, 0x0010},
                    LedNameCase{"Active70000", 70000, 0x0400}));

struct TextCase {
  char const* input;
  char const* expected;
};

std::ostream& operator<<(std::ostream& out, TextCase const& c) {
  return out << '"' << c.input << '"';
}

TEST(PortSubStringTest, CutsOnlyTheLastComponent) {
  TextCase const cases[] = {
      {"Ethernet3/1", "Ethernet3"},
      {"Ethernet3/1/4", "Ethernet3/1"},
      {"Ethernet5", "Ethernet5"},
      {"Ethernet1/", "Ethernet1"},
      {"/1", ""},
      {"a//b", "a/"},
      {"", ""},
  };
  for (auto const& c : cases)
    EXPECT_EQ(Lampwise::portSubString(c.input), Zel::String(c.expected)) << c;
}

TEST(ShortenLinkModeTest, StripsTheFirstPrefixUpToTheLineEnd) {
  TextCase const cases[] = {
      {"linkModeForced100gfull", "100gfull"},
      {"linkModeAutoneg", "Autoneg"},
      {"linkModeForced", ""},
      {"xlinkModeUnknown", "Unknown"},
      {"linkmodeAutoneg", ""},
      {"", ""},
      {"linkModeForced100gfull\nlinkModeAutoneg", "100gfull"},
      {"linkMode10g\r\nrest", "10g"},
      {"first line\nlinkModeForced40g", "40g"},
      {"linkModeForcedlinkModeForced1g", "linkModeForced1g"},
      {"linkModeForcedForced", "Forced"},
  };
  for (auto const& c : cases)
    EXPECT_EQ(Lampwise::shortenLinkMode(c.input), Zel::String(c.expected)) << c;
}

}  // namespace
