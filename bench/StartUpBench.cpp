// Start-up and populate, at N = 1,000, 10,000 and 100,000 LEDs (each with a ready mapping of one
// pin per colour and a configuration, half steady and half flashing).
//   StartUp:  everything is in the database before the agent starts; timed from the mounts
//             completing until the agent has built every LED (machines made, steady pins written).
//   Populate: the agent runs on empty directories; the same LEDs are then published one by one
//             as another agent would (mapping, then configuration), each delivered before the
//             next is published. Timed over all of it, publishing included.
//   RandomRead: the machine alone: what one read at a random place costs in a working set the
//             size of what N LEDs hold (agent and inputs), reads depending on each other as a
//             look-up's do. A per-LED time cannot grow less than its misses do.
#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <cstdint>
#include <numeric>
#include <random>
#include <stdexcept>
#include <vector>

#include "bench/support/AgentRig.h"
#include "bench/support/Measure.h"

namespace PinlampBench {
namespace {

void checkBuilt(AgentRig const& rig, std::size_t leds) {
  // LED 0 is steady green; the last LED's pins exist.
  if (rig.machineCount() != leds || rig.pinCount() != 4 * leds || rig.pinValue(0, 'G') != 1 ||
      rig.pinValue(0, 'R') != 0 || rig.pinValue(leds - 1, 'O') != 0) {
    throw std::runtime_error("the agent did not build every LED");
  }
}

// Wall and CPU time of each run. The CPU time is what the work costs whatever else runs on the
// machine; the wall time is how long it took here, waits for the CPU included.
struct Runs {
  std::vector<double> wall;
  std::vector<double> cpu;
  std::vector<double> faults;  // page faults taken in the run
};

// Times one run of `work` and records it.
template <class Work>
void timeRun(benchmark::State& state, Runs& runs, Work const& work) {
  rusage before{};
  ::getrusage(RUSAGE_SELF, &before);
  double const cpu = cpuSeconds();
  double const start = wallSeconds();
  work();
  double const elapsed = wallSeconds() - start;
  rusage after{};
  ::getrusage(RUSAGE_SELF, &after);
  runs.faults.push_back(static_cast<double>(after.ru_minflt - before.ru_minflt));
  runs.cpu.push_back(cpuSeconds() - cpu);
  runs.wall.push_back(elapsed);
  state.SetIterationTime(elapsed);
}

void reportPerLed(benchmark::State& state, Runs& runs, std::size_t leds) {
  double const n = static_cast<double>(leds);
  state.counters["us_per_led"] = quantile(runs.wall, 0.5) / n * 1e6;
  state.counters["cpu_us_per_led"] = quantile(runs.cpu, 0.5) / n * 1e6;
  state.counters["total_ms"] = quantile(runs.wall, 0.5) * 1e3;
  state.counters["page_faults_per_led"] = quantile(runs.faults, 0.5) / n;
}

void startUp(benchmark::State& state) {
  auto const leds = static_cast<std::size_t>(state.range(0));
  Runs runs;
  for (auto _ : state) {
    AgentRig rig(Zel::ActivityManager::TimeSource::virtualTime);
    rig.publishLeds(leds, AgentRig::Mix::halfFlashing);
    rig.startAgent();
    // The mounts complete; the agent builds everything.
    timeRun(state, runs, [&rig] { rig.loop().runPending(); });
    checkBuilt(rig, leds);
  }
  reportPerLed(state, runs, leds);
}

void populate(benchmark::State& state) {
  auto const leds = static_cast<std::size_t>(state.range(0));
  Runs runs;
  for (auto _ : state) {
    AgentRig rig(Zel::ActivityManager::TimeSource::virtualTime);
    rig.startAgentAndSettle();
    Zel::ActivityManager& loop = rig.loop();
    timeRun(state, runs, [&rig, &loop, leds] {
      for (std::size_t i = 0; i < leds; ++i) {
        rig.publishMapping(i);
        loop.runPending();
        rig.publishConfig(i, i % 2 == 1 ? flashing(0.5) : steady(i % 4 == 0));
        loop.runPending();
      }
    });
    checkBuilt(rig, leds);
  }
  reportPerLed(state, runs, leds);
}

// The resident bytes of one LED, the agent's and its inputs' (the memory benchmark's figures).
constexpr std::size_t kBytesPerLed = 2500;

// One cache line per slot; each holds the index of the next slot of one random cycle through
// all of them, so every read waits for the one before, as a chain of look-ups does.
struct alignas(64) Slot {
  std::uint32_t next;
};

void randomRead(benchmark::State& state) {
  auto const leds = static_cast<std::size_t>(state.range(0));
  std::size_t const slots = leds * kBytesPerLed / sizeof(Slot);
  std::vector<Slot> memory(slots);
  std::vector<std::uint32_t> order(slots);
  std::iota(order.begin(), order.end(), 0u);
  std::shuffle(order.begin() + 1, order.end(), std::mt19937(7));
  for (std::size_t i = 0; i < slots; ++i) memory[order[i]].next = order[(i + 1) % slots];
  constexpr std::size_t kReads = 4'000'000;
  std::uint32_t at = 0;
  for (std::size_t i = 0; i < slots; ++i) at = memory[at].next;  // touched once: resident
  double seconds = 0;
  for (auto _ : state) {
    double const start = wallSeconds();
    for (std::size_t i = 0; i < kReads; ++i) at = memory[at].next;
    seconds = wallSeconds() - start;
    state.SetIterationTime(seconds);
  }
  benchmark::DoNotOptimize(at);
  state.counters["ns_per_read"] = seconds / static_cast<double>(kReads) * 1e9;
  state.counters["working_set_mib"] = static_cast<double>(slots * sizeof(Slot)) / (1 << 20);
}

void sizes(benchmark::internal::Benchmark* bench) {
  bench->ArgName("leds")->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(startUp)->Name("StartUp")->Apply(sizes)->Arg(1000)->Iterations(20);
BENCHMARK(startUp)->Name("StartUp")->Apply(sizes)->Arg(10000)->Iterations(10);
BENCHMARK(startUp)->Name("StartUp")->Apply(sizes)->Arg(100000)->Iterations(5);
BENCHMARK(populate)->Name("Populate")->Apply(sizes)->Arg(1000)->Iterations(20);
BENCHMARK(populate)->Name("Populate")->Apply(sizes)->Arg(10000)->Iterations(10);
BENCHMARK(populate)->Name("Populate")->Apply(sizes)->Arg(100000)->Iterations(5);
BENCHMARK(randomRead)
    ->Name("RandomRead")
    ->Apply(sizes)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(3);

}  // namespace
}  // namespace PinlampBench

BENCHMARK_MAIN();
