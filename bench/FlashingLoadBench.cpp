// Flashing load: N LEDs flashing at 0.5 s in virtual time for 60 simulated seconds. The figure is
// the process's CPU time per flashing LED per simulated second, which is what flashing costs an
// appliance whatever its real time is.
#include <benchmark/benchmark.h>

#include <stdexcept>
#include <vector>

#include "bench/support/AgentRig.h"
#include "bench/support/Measure.h"

namespace PinlampBench {
namespace {

constexpr double kFlashInterval = 0.5;
constexpr double kSimulatedSeconds = 60.0;

void flashingLoad(benchmark::State& state) {
  auto const leds = static_cast<std::size_t>(state.range(0));
  std::vector<double> perLedSecond;
  for (auto _ : state) {
    AgentRig rig(Zel::ActivityManager::TimeSource::virtualTime);
    rig.publishLeds(leds, AgentRig::Mix::allFlashing, kFlashInterval);
    rig.startAgentAndSettle();
    if (rig.loop().clock()->armedCount() != leds) throw std::runtime_error("LEDs not armed");

    double const cpu = cpuSeconds();
    rig.loop().advance(kSimulatedSeconds);
    double const used = cpuSeconds() - cpu;
    state.SetIterationTime(used);
    perLedSecond.push_back(used / (static_cast<double>(leds) * kSimulatedSeconds));

    // 120 ticks each: the yellow pin ends where it started.
    if (rig.pinValue(leds - 1, 'Y') != 0 || rig.loop().clock()->armedCount() != leds) {
      throw std::runtime_error("the LEDs did not flash as expected");
    }
  }
  state.counters["cpu_us_per_led_s"] = quantile(perLedSecond, 0.5) * 1e6;
  state.counters["cpu_us_per_tick"] =
      quantile(perLedSecond, 0.5) * 1e6 * kFlashInterval;  // two ticks per LED-second
}

BENCHMARK(flashingLoad)
    ->Name("FlashingLoad")
    ->ArgName("leds")
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(3)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace PinlampBench

BENCHMARK_MAIN();
