// The clock's timer structure alone, beside the binary heap it replaced: arming, re-arming and
// expiring at 1,000, 100,000 and 1,000,000 timers spread over one flash interval, as flashing
// LEDs switched one after another are. No loop, no agent: what one operation on the structure
// costs, in ns.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "bench/support/ReferenceTimerHeap.h"
#include "platform/zel/TimerWheel.h"

namespace PinlampBench {
namespace {

constexpr double kInterval = 0.5;

struct WheelTimers {
  struct Entry : Zel::TimerWheel::Entry {};
  Zel::TimerWheel timers;
  void arm(Entry* entry, double time) noexcept { timers.arm(entry, time); }
  void disarm(Entry* entry) noexcept { timers.disarm(entry); }
  Entry* earliest() noexcept { return static_cast<Entry*>(timers.earliest()); }
  static double timeOf(Entry const* entry) noexcept { return entry->armedTime(); }
};

struct HeapTimers {
  using Entry = ReferenceTimerHeap::Entry;
  ReferenceTimerHeap timers;
  void arm(Entry* entry, double time) { timers.arm(entry, time); }
  void disarm(Entry* entry) noexcept { timers.disarm(entry); }
  Entry* earliest() const noexcept { return timers.earliest(); }
  static double timeOf(Entry const* entry) noexcept { return entry->time; }
};

// Start times spread at random over one interval, the same for both structures.
std::vector<double> startTimes(std::size_t count) {
  std::mt19937_64 random(42);
  std::uniform_real_distribution<double> within(0.0, kInterval);
  std::vector<double> times(count);
  for (double& time : times) time = 1000.0 + within(random);
  return times;
}

// A visiting order that jumps about memory, as re-arms of unrelated LEDs do.
std::vector<std::uint32_t> shuffled(std::size_t count) {
  std::vector<std::uint32_t> order(count);
  for (std::size_t i = 0; i < count; ++i) order[i] = static_cast<std::uint32_t>(i);
  std::shuffle(order.begin(), order.end(), std::mt19937_64(7));
  return order;
}

// Arming N timers that were not armed, then disarming them: ns per arm and disarm.
template <class Timers>
void timerArm(benchmark::State& state) {
  auto const count = static_cast<std::size_t>(state.range(0));
  std::vector<double> const times = startTimes(count);
  std::vector<typename Timers::Entry> entries(count);  // outlives the structure that holds them
  auto timers = std::make_unique<Timers>();
  for (auto _ : state) {
    for (std::size_t i = 0; i < count; ++i) timers->arm(&entries[i], times[i]);
    for (std::size_t i = 0; i < count; ++i) timers->disarm(&entries[i]);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}

// Re-arming an armed timer, in a random order over all N, one interval later than it was.
template <class Timers>
void timerReArm(benchmark::State& state) {
  auto const count = static_cast<std::size_t>(state.range(0));
  std::vector<double> const times = startTimes(count);
  std::vector<std::uint32_t> const order = shuffled(count);
  std::vector<typename Timers::Entry> entries(count);  // outlives the structure that holds them
  auto timers = std::make_unique<Timers>();
  for (std::size_t i = 0; i < count; ++i) timers->arm(&entries[i], times[i]);
  std::size_t next = 0;
  for (auto _ : state) {
    auto* entry = &entries[order[next]];
    timers->arm(entry, Timers::timeOf(entry) + kInterval);
    if (++next == count) next = 0;
  }
  state.SetItemsProcessed(state.iterations());
}

// The flashing LED: the earliest timer expires and re-arms one interval after its time.
template <class Timers>
void timerExpire(benchmark::State& state) {
  auto const count = static_cast<std::size_t>(state.range(0));
  std::vector<double> const times = startTimes(count);
  std::vector<typename Timers::Entry> entries(count);  // outlives the structure that holds them
  auto timers = std::make_unique<Timers>();
  for (std::size_t i = 0; i < count; ++i) timers->arm(&entries[i], times[i]);
  for (auto _ : state) {
    auto* due = timers->earliest();
    double const time = Timers::timeOf(due);
    timers->disarm(due);
    timers->arm(due, time + kInterval);
  }
  state.SetItemsProcessed(state.iterations());
}

#define PINLAMP_TIMER_BENCH(function, structure, name) \
  BENCHMARK_TEMPLATE(function, structure)              \
      ->Name(name)                                     \
      ->ArgName("timers")                              \
      ->Arg(1000)                                      \
      ->Arg(100000)                                    \
      ->Arg(1000000)                                   \
      ->Unit(benchmark::kNanosecond)

PINLAMP_TIMER_BENCH(timerArm, WheelTimers, "TimerArm/wheel");
PINLAMP_TIMER_BENCH(timerArm, HeapTimers, "TimerArm/heap");
PINLAMP_TIMER_BENCH(timerReArm, WheelTimers, "TimerReArm/wheel");
PINLAMP_TIMER_BENCH(timerReArm, HeapTimers, "TimerReArm/heap");
PINLAMP_TIMER_BENCH(timerExpire, WheelTimers, "TimerExpire/wheel");
PINLAMP_TIMER_BENCH(timerExpire, HeapTimers, "TimerExpire/heap");

}  // namespace
}  // namespace PinlampBench

BENCHMARK_MAIN();
