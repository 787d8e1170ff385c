// Memory per LED at N = 100,000: resident bytes (from /proc/self/statm) and objects alive in the
// framework allocator, before and after the agent builds every LED. The agent's share is what it
// adds on top of the published inputs: its per-LED reactors, output configuration, the LED's 4
// pin entities and its state machine. The input entities are the database's, counted apart.
// Run it in a process of its own: resident memory is the process's.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <stdexcept>
#include <vector>

#include "bench/support/AgentRig.h"
#include "bench/support/Measure.h"

namespace PinlampBench {
namespace {

void memory(benchmark::State& state) {
  auto const leds = static_cast<std::size_t>(state.range(0));
  double const n = static_cast<double>(leds);
  for (auto _ : state) {
    AgentRig rig(Zel::ActivityManager::TimeSource::virtualTime);
    std::size_t const emptyRss = residentBytes();
    std::int64_t const emptyObjects = liveTrackedObjects();
    rig.publishLeds(leds, AgentRig::Mix::halfFlashing);
    std::size_t const inputRss = residentBytes();
    std::int64_t const inputObjects = liveTrackedObjects();
    auto const inputByType = liveTrackedObjectsByType();

    double const start = wallSeconds();
    rig.startAgentAndSettle();
    state.SetIterationTime(wallSeconds() - start);
    std::size_t const builtRss = residentBytes();
    std::int64_t const builtObjects = liveTrackedObjects();

    state.counters["agent_rss_bytes_per_led"] = static_cast<double>(builtRss - inputRss) / n;
    state.counters["input_rss_bytes_per_led"] = static_cast<double>(inputRss - emptyRss) / n;
    state.counters["agent_objects_per_led"] = static_cast<double>(builtObjects - inputObjects) / n;
    state.counters["input_objects_per_led"] = static_cast<double>(inputObjects - emptyObjects) / n;

    // Where the agent's objects go, for the notes.
    for (auto const& [type, live] : liveTrackedObjectsByType()) {
      auto const before = inputByType.find(type);
      std::int64_t const added = live - (before == inputByType.end() ? 0 : before->second);
      if (added != 0) {
        std::fprintf(stderr, "agent objects per LED: %6.2f %s\n", static_cast<double>(added) / n,
                     type.c_str());
      }
    }
  }
}

BENCHMARK(memory)
    ->Name("Memory")
    ->ArgName("leds")
    ->Arg(100000)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace PinlampBench

BENCHMARK_MAIN();
