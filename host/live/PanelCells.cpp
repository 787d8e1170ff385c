#include "host/live/PanelCells.h"

#include <utility>

namespace Host {

void PanelCells::layOut(std::vector<LedLights> const& leds, std::vector<ElementPins> pins,
                        PanelGeometry const& geometry, std::size_t firstRow,
                        std::size_t shownRows) {
  cells_.clear();
  slotsOfPin_.clear();
  marked_.clear();
  geometry_ = geometry;
  // Cells in rows below the screen are never drawn, so their pins need no watching.
  std::size_t const shown = std::min(leds.size(), shownRows * geometry.columns);
  cells_.resize(shown);
  for (std::size_t i = 0; i < shown; ++i) {
    Cell& cell = cells_[i];
    cell.pins = std::move(pins[i]);
    cell.row = firstRow + i / geometry.columns;
    cell.column = i % geometry.columns;
    for (std::size_t colour = 0; colour < kColourCount; ++colour) {
      cell.drawn[colour] = leds[i].elements[colour];
      for (Zel::Name const& pin : cell.pins[colour]) {
        slotsOfPin_[pin.stdString()].push_back({i, colour});
      }
    }
  }
}

void PanelCells::pinChanged(std::string const& pin) {
  auto const found = slotsOfPin_.find(pin);
  if (found == slotsOfPin_.end()) return;
  for (Slot const& slot : found->second) {
    Cell& cell = cells_[slot.cell];
    if (cell.marked) continue;
    cell.marked = true;
    marked_.push_back(slot.cell);
  }
}

std::vector<PanelCells::Change> PanelCells::changes(Zel::Dir const& pins) {
  std::vector<Change> changed;
  for (std::size_t index : marked_) {
    Cell& cell = cells_[index];
    cell.marked = false;
    for (std::size_t colour = 0; colour < kColourCount; ++colour) {
      ElementLight light;
      for (Zel::Name const& pin : cell.pins[colour]) {
        light.hasPins = true;
        auto const value = pinValue(pins, pin);
        if (value && *value != 0) light.lit = true;
      }
      ElementLight& drawn = cell.drawn[colour];
      if (light.hasPins == drawn.hasPins && light.lit == drawn.lit) continue;
      drawn = light;
      changed.push_back({cell.row, geometry_.elementColumn(cell.column, colour), colour, light});
    }
  }
  marked_.clear();
  return changed;
}

}  // namespace Host
