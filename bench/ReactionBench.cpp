// Reaction: one steady LED's light setting changes among N = 100,000 built LEDs (half of them
// flashing), and the loop delivers it. Timed per change from the publishing of the new setting
// until its pins are written. Changes go to LEDs spread over the whole set, and each flips that
// LED between green and red, so every change really writes pins.
#include <benchmark/benchmark.h>

#include <stdexcept>
#include <vector>

#include "bench/support/AgentRig.h"
#include "bench/support/Measure.h"

namespace PinlampBench {
namespace {

void reaction(benchmark::State& state) {
  auto const leds = static_cast<std::size_t>(state.range(0));
  AgentRig rig(Zel::ActivityManager::TimeSource::virtualTime);
  rig.publishLeds(leds, AgentRig::Mix::halfFlashing);
  rig.startAgentAndSettle();
  Zel::ActivityManager& loop = rig.loop();

  // Steady LEDs are the even ones; LED i starts green when i % 4 == 0.
  std::size_t const steadyLeds = leds / 2;
  std::vector<char> green(steadyLeds);
  for (std::size_t k = 0; k < steadyLeds; ++k) green[k] = (2 * k) % 4 == 0;

  std::vector<double> seconds;
  seconds.reserve(static_cast<std::size_t>(state.max_iterations));
  std::uint64_t pick = 0x9e3779b97f4a7c15ull;
  for (auto _ : state) {
    pick = pick * 6364136223846793005ull + 1442695040888963407ull;
    std::size_t const k = static_cast<std::size_t>(pick >> 33) % steadyLeds;
    std::size_t const led = 2 * k;
    Led::LightSetting const setting = steady(!green[k]);
    double const start = wallSeconds();
    rig.changeSetting(led, setting);
    loop.runPending();
    double const elapsed = wallSeconds() - start;
    state.SetIterationTime(elapsed);
    seconds.push_back(elapsed);
    green[k] = !green[k];
    if (rig.pinValue(led, green[k] ? 'G' : 'R') != 1 || rig.pinValue(led, green[k] ? 'R' : 'G')) {
      throw std::runtime_error("a change did not reach the pins");
    }
  }
  state.counters["median_us"] = quantile(seconds, 0.5) * 1e6;
  state.counters["p99_us"] = quantile(seconds, 0.99) * 1e6;
  state.counters["max_us"] = quantile(seconds, 1.0) * 1e6;
}

BENCHMARK(reaction)
    ->Name("Reaction")
    ->ArgName("leds")
    ->Arg(100000)
    ->Iterations(50000)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace PinlampBench

BENCHMARK_MAIN();
