#include <gtest/gtest.h>

#include <vector>

#include "host/live/PanelCells.h"
#include "platform/model/CorvelPinConfig.h"
#include "platform/zel/ActivityManagerScope.h"

namespace Host {
namespace {

using Hardware::Gpio::CorvelPinConfig;

class PanelCellsTest : public testing::Test {
 protected:
  void SetUp() override { pins_ = Zel::Dir::dirIs("config"); }

  void pinIs(char const* name, std::uint32_t value) {
    auto pin =
        Zel::ptrCast<CorvelPinConfig>(pins_->entryIs(name, "Hardware::Gpio::CorvelPinConfig"));
    pin->valueIs(value);
    cells_.pinChanged(name);
  }

  // Three LEDs, two a row, each with a green pin "<name>g" and two red pins.
  void layOut(std::size_t shownRows) {
    std::vector<LedLights> leds;
    std::vector<ElementPins> pins;
    for (char const* name : {"a", "b", "c"}) {
      LedLights& led = leds.emplace_back();
      led.name = name;
      led.elements[1].hasPins = led.elements[2].hasPins = true;
      ElementPins& element = pins.emplace_back();
      element[1] = {std::string(name) + "g"};
      element[2] = {std::string(name) + "r1", std::string(name) + "r2"};
    }
    PanelGeometry geometry;
    geometry.nameWidth = 1;
    geometry.cellWidth = 6;
    geometry.columns = 2;
    cells_.layOut(leds, std::move(pins), geometry, 1, shownRows);
  }

  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::virtualTime};
  Zel::Ptr<Zel::Dir> pins_;
  PanelCells cells_;
};

TEST_F(PanelCellsTest, GivesOnlyTheElementsWhoseLightChangedAtTheirPlace) {
  layOut(2);
  pinIs("bg", 1);
  pinIs("cr1", 1);
  pinIs("cr2", 1);  // a second lit pin of a lit element changes nothing more
  pinIs("ag", 0);   // dark as drawn
  auto const changes = cells_.changes(*pins_);
  ASSERT_EQ(changes.size(), 2u);
  EXPECT_EQ(changes[0].row, 1u);      // b: first row, second cell
  EXPECT_EQ(changes[0].column, 11u);  // past a, the gap, the name and yellow
  EXPECT_TRUE(changes[0].light.lit);
  EXPECT_EQ(changes[1].row, 2u);  // c: second row, first cell, red
  EXPECT_EQ(changes[1].column, 4u);
  EXPECT_EQ(changes[1].colour, 2u);

  pinIs("cr1", 0);  // still lit through cr2
  EXPECT_TRUE(cells_.changes(*pins_).empty());
  pinIs("bg", 0);
  pinIs("bg", 1);  // back to what was drawn before the frame
  EXPECT_TRUE(cells_.changes(*pins_).empty());
}

TEST_F(PanelCellsTest, MarksACellWhilstAnyOfItsPinsFailsAcrossLayouts) {
  cells_.pinFailingIs("br1", true);  // before the layout: the driver failed at start
  layOut(2);
  auto changes = cells_.changes(*pins_);
  ASSERT_EQ(changes.size(), 1u);
  EXPECT_TRUE(changes[0].isFailureMark);
  EXPECT_TRUE(changes[0].failing);
  EXPECT_EQ(changes[0].row, 1u);
  EXPECT_EQ(changes[0].column, 9u);  // between b's name and its elements

  cells_.pinFailingIs("br2", true);
  cells_.pinFailingIs("br1", false);  // br2 still fails
  EXPECT_TRUE(cells_.changes(*pins_).empty());
  cells_.pinFailingIs("br2", false);
  changes = cells_.changes(*pins_);
  ASSERT_EQ(changes.size(), 1u);
  EXPECT_FALSE(changes[0].failing);
}

TEST_F(PanelCellsTest, IgnoresCellsBelowTheScreen) {
  layOut(1);
  pinIs("cg", 1);
  EXPECT_FALSE(cells_.anyMarked());
}

}  // namespace
}  // namespace Host
