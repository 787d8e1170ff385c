#include "platform/cell/Cell.h"

namespace Cell {

namespace {
std::uint32_t currentCellId = 1;
}

std::uint32_t cellId() noexcept {
  return currentCellId;
}

void cellIdIs(std::uint32_t id) noexcept {
  currentCellId = id;
}

}  // namespace Cell
