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
        std::string name = pin.stdString();
        if (failing_.contains(name)) ++cell.failingPins;
        slotsOfPin_[std::move(name)].push_back({i, colour});
      }
    }
    // The layout draws no failure marks: the next frame adds them.
    if (cell.failingPins != 0) mark(i);
  }
}

void PanelCells::pinFailingIs(std::string const& pin, bool failing) {
  bool const changed = failing ? failing_.insert(pin).second : failing_.erase(pin) != 0;
  if (!changed) return;
  auto const found = slotsOfPin_.find(pin);
  if (found == slotsOfPin_.end()) return;
  for (Slot const& slot : found->second) {
    Cell& cell = cells_[slot.cell];
    failing ? ++cell.failingPins : --cell.failingPins;
    mark(slot.cell);
  }
}

void PanelCells::mark(std::size_t index) {
  if (cells_[index].marked) return;
  cells_[index].marked = true;
  marked_.push_back(index);
}

void PanelCells::pinChanged(std::string const& pin) {
  auto const found = slotsOfPin_.find(pin);
  if (found == slotsOfPin_.end()) return;
  for (Slot const& slot : found->second) mark(slot.cell);
}

std::vector<PanelCells::Change> PanelCells::changes(Zel::Dir const& pins) {
  std::vector<Change> changed;
  for (std::size_t index : marked_) {
    Cell& cell = cells_[index];
    cell.marked = false;
    if ((cell.failingPins != 0) != cell.failureDrawn) {
      cell.failureDrawn = cell.failingPins != 0;
      Change& mark = changed.emplace_back();
      mark.row = cell.row;
      mark.column = geometry_.markColumn(cell.column);
      mark.isFailureMark = true;
      mark.failing = cell.failureDrawn;
    }
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
