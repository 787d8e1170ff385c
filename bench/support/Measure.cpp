#include "bench/support/Measure.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <fstream>

#include "platform/zel/ActivityManager.h"
#include "platform/zel/AllocTrack.h"

namespace PinlampBench {

namespace {
double seconds(clockid_t clock) noexcept {
  timespec ts;
  clock_gettime(clock, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}
}  // namespace

double wallSeconds() noexcept {
  return seconds(CLOCK_MONOTONIC);
}

double cpuSeconds() noexcept {
  return seconds(CLOCK_PROCESS_CPUTIME_ID);
}

std::size_t residentBytes() {
  std::ifstream statm("/proc/self/statm");
  std::size_t totalPages = 0;
  std::size_t residentPages = 0;
  statm >> totalPages >> residentPages;
  return residentPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::size_t peakResidentBytes() noexcept {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::size_t>(usage.ru_maxrss) * 1024;  // reported in KiB
}

std::int64_t liveTrackedObjects() {
  std::int64_t live = 0;
  for (Zel::AllocTrackTypeInfo const* info : Zel::AllocTrackTypeInfo::all()) live += info->live();
  return live;
}

std::map<std::string, std::int64_t> liveTrackedObjectsByType() {
  std::map<std::string, std::int64_t> byType;
  for (Zel::AllocTrackTypeInfo const* info : Zel::AllocTrackTypeInfo::all()) {
    byType[info->typeName()] += info->live();
  }
  return byType;
}

double quantile(std::vector<double>& values, double q) {
  if (values.empty()) return 0.0;
  auto rank = static_cast<std::size_t>(std::ceil(q * static_cast<double>(values.size())));
  std::size_t const index = std::min(values.size() - 1, rank == 0 ? 0 : rank - 1);
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(index),
                   values.end());
  return values[index];
}

LoopCost runLoop(Zel::ActivityManager& loop, double seconds) {
  std::uint64_t const wakes = loop.wakeCount();
  double const cpu = cpuSeconds();
  double const wall = wallSeconds();
  loop.runFor(seconds);
  double const elapsed = wallSeconds() - wall;
  return LoopCost{(cpuSeconds() - cpu) / elapsed,
                  static_cast<double>(loop.wakeCount() - wakes) / elapsed, elapsed};
}

}  // namespace PinlampBench
