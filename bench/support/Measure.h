// Clocks, process counters and order statistics shared by the benchmarks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Zel {
class ActivityManager;
}

namespace PinlampBench {

// Seconds on the monotonic clock.
double wallSeconds() noexcept;
// CPU seconds used by the whole process, user and system.
double cpuSeconds() noexcept;

// Resident bytes now (from /proc/self/statm) and the peak so far (ru_maxrss).
std::size_t residentBytes();
std::size_t peakResidentBytes() noexcept;

// Objects made by the framework allocator and not yet destroyed, over every tracked type.
std::int64_t liveTrackedObjects();
// The same, per tracked type (demangled name).
std::map<std::string, std::int64_t> liveTrackedObjectsByType();

// What one stretch of the live loop cost the process.
struct LoopCost {
  double cpuShare;
  double wakesPerSecond;
  double seconds;
};

// Runs the live loop for `seconds` and says what that cost.
LoopCost runLoop(Zel::ActivityManager& loop, double seconds);

// The q-quantile (0..1) of `values`, by nearest rank; reorders `values`.
double quantile(std::vector<double>& values, double q);

}  // namespace PinlampBench
