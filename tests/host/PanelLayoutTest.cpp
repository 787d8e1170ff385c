#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/live/PanelLayout.h"
#include "host/script/StatusReport.h"

namespace Host {
namespace {

LedLights led(std::string name, std::string const& elements) {
  // One character per colour: L lit, d dark, - no pins.
  LedLights lights;
  lights.name = std::move(name);
  for (std::size_t i = 0; i < kColourCount; ++i) {
    lights.elements[i] = {elements[i] != '-', elements[i] == 'L'};
  }
  return lights;
}

TEST(PanelLayoutTest, LaysLedsOutInAsManyColumnsAsFit) {
  PanelStyle const style{30, false, false};
  std::vector<std::string> const lines = panelLines(
      "title", {led("Fan1", "-dL-"), led("Status", "Ldd-"), led("Port2", "dd--")}, "recent", style);
  EXPECT_EQ(lines, (std::vector<std::string>{
                       "title",
                       "Fan1    .O   Status O.. ",
                       "Port2  ..  ",
                       "recent",
                   }));
  EXPECT_EQ(panelLines("t", {led("Fan1", "LLLL")}, "r", PanelStyle{20, false, false})[1],
            "Fan1 OOOO");
}

TEST(PanelLayoutTest, DrawsElementsInTheirColoursAndCutsLongNames) {
  std::string const lit = panelLines("t", {led("Led", "-L--")}, "r", PanelStyle{})[1];
  std::string const none = "\033[90m·\033[0m";
  EXPECT_EQ(lit, "Led " + none + "\033[1;92m●\033[0m" + none + none + "\033[0m");
  std::string const name(40, 'n');
  std::string const row =
      panelLines("t", {led(name, "d---")}, "r", PanelStyle{80, false, false})[1];
  EXPECT_EQ(row, std::string(kPanelNameWidth - 1, 'n') + "~ .   ");
}

TEST(PanelLayoutTest, MeasuresAndClipsWhatTheTerminalShows) {
  std::string const coloured = "\033[1;93m●\033[0m ab";
  EXPECT_EQ(visibleWidth(coloured), 4u);
  EXPECT_EQ(clipToWidth(coloured, 2), "\033[1;93m●\033[0m \033[0m");
  EXPECT_EQ(clipToWidth("plain text", 5), "plain");
  EXPECT_EQ(visibleWidth(clipToWidth(std::string(200, 'x'), 30)), 30u);
}

TEST(StatusReportTest, NaturalOrderComparesNumbersAsNumbers) {
  std::vector<std::string> names = {"eth10", "eth2", "Fan1",  "eth1",
                                    "eth02", "eth",  "a10b2", "a10b10"};
  std::sort(names.begin(), names.end(),
            [](auto const& a, auto const& b) { return naturalLess(a, b); });
  EXPECT_EQ(names, (std::vector<std::string>{"Fan1", "a10b2", "a10b10", "eth", "eth1", "eth02",
                                             "eth2", "eth10"}));
}

}  // namespace
}  // namespace Host
