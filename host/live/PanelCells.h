// The LED cells of the front panel as they are on the screen: which pins each cell shows, where
// it is, and what its colour elements showed when last drawn. A pin change marks only the cells
// of that pin, so that a frame redraws the elements that changed and nothing else: the cost of a
// frame follows the changes, not the number of LEDs.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/live/PanelLayout.h"
#include "host/script/LedLights.h"
#include "platform/zel/Dir.h"
#include "platform/zel/Name.h"

namespace Host {

// The pins of each colour element of an LED.
using ElementPins = std::array<std::vector<Zel::Name>, kColourCount>;

class PanelCells {
 public:
  struct Cell {
    ElementPins pins;
    std::array<ElementLight, kColourCount> drawn;
    std::size_t row = 0;     // screen row, from 0
    std::size_t column = 0;  // cell column in its row
    std::size_t failingPins = 0;
    bool failureDrawn = false;
    bool marked = false;
  };

  // An element to draw: its screen row and column (from 0) and what it shows now.
  struct Change {
    std::size_t row = 0;
    std::size_t column = 0;
    std::size_t colour = 0;
    ElementLight light;
    // Not an element but the cell's failure mark, between its name and its elements.
    bool isFailureMark = false;
    bool failing = false;
  };

  // `leds` in panel order, as just drawn, with their pins; the cells start at screen row
  // `firstRow` and only `shownRows` rows of them fit on the screen.
  void layOut(std::vector<LedLights> const& leds, std::vector<ElementPins> pins,
              PanelGeometry const& geometry, std::size_t firstRow, std::size_t shownRows);
  void pinChanged(std::string const& pin);
  // The driver could not light `pin` as the agent meant (a failed write, an unmapped pin). Kept
  // across layouts; the cells of the pin are marked for the next frame.
  void pinFailingIs(std::string const& pin, bool failing);
  bool anyMarked() const noexcept { return !marked_.empty(); }
  // The elements of the marked cells whose light differs from what was drawn, taken as drawn.
  std::vector<Change> changes(Zel::Dir const& pins);

 private:
  struct Slot {
    std::size_t cell;
    std::size_t colour;
  };

  std::vector<Cell> cells_;
  std::unordered_map<std::string, std::vector<Slot>> slotsOfPin_;
  void mark(std::size_t cell);

  std::vector<std::size_t> marked_;
  std::unordered_set<std::string> failing_;
  PanelGeometry geometry_;
};

}  // namespace Host
