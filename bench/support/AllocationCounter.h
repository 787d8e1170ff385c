// Counts the process's allocations: the program that links this replaces the global operator
// new, so every allocation (the framework's, the agent's, the standard library's) is counted.
#pragma once

#include <cstdint>

namespace PinlampBench {

// Allocations made through operator new since the process started.
std::uint64_t allocationCount() noexcept;

}  // namespace PinlampBench
