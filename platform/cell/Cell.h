// The identifier of the cell (supervisor slot) on which this process runs. Set by the host;
// 1 unless told otherwise.
#pragma once

#include <cstdint>

namespace Cell {

std::uint32_t cellId() noexcept;
void cellIdIs(std::uint32_t id) noexcept;

}  // namespace Cell
