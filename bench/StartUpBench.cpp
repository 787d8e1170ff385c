// Start-up and populate, at N = 1,000, 10,000 and 100,000 LEDs (each with a ready mapping of one
// pin per colour and a configuration, half steady and half flashing).
//   StartUp:  everything is in the database before the agent starts; timed from the mounts
//             completing until the agent has built every LED (machines made, steady pins written).
//   Populate: the agent runs on empty directories; the same LEDs are then published one by one
//             as another agent would (mapping, then configuration), each delivered before the
//             next is published. Timed over all of it, publishing included.
#include <benchmark/benchmark.h>

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
};

// Times one run of `work` and records it.
template <class Work>
void timeRun(benchmark::State& state, Runs& runs, Work const& work) {
  double const cpu = cpuSeconds();
  double const start = wallSeconds();
  work();
  double const elapsed = wallSeconds() - start;
  runs.cpu.push_back(cpuSeconds() - cpu);
  runs.wall.push_back(elapsed);
  state.SetIterationTime(elapsed);
}

void reportPerLed(benchmark::State& state, Runs& runs, std::size_t leds) {
  double const n = static_cast<double>(leds);
  state.counters["us_per_led"] = quantile(runs.wall, 0.5) / n * 1e6;
  state.counters["cpu_us_per_led"] = quantile(runs.cpu, 0.5) / n * 1e6;
  state.counters["total_ms"] = quantile(runs.wall, 0.5) * 1e3;
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

void sizes(benchmark::internal::Benchmark* bench) {
  bench->ArgName("leds")->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(startUp)->Name("StartUp")->Apply(sizes)->Arg(1000)->Iterations(20);
BENCHMARK(startUp)->Name("StartUp")->Apply(sizes)->Arg(10000)->Iterations(10);
BENCHMARK(startUp)->Name("StartUp")->Apply(sizes)->Arg(100000)->Iterations(5);
BENCHMARK(populate)->Name("Populate")->Apply(sizes)->Arg(1000)->Iterations(20);
BENCHMARK(populate)->Name("Populate")->Apply(sizes)->Arg(10000)->Iterations(10);
BENCHMARK(populate)->Name("Populate")->Apply(sizes)->Arg(100000)->Iterations(5);

}  // namespace
}  // namespace PinlampBench

BENCHMARK_MAIN();
