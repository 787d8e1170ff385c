// Live tick accuracy: LEDs flashing at 0.5 s on the monotonic clock, the loop running for real.
// Arguments: LED count, seconds of each of the two stretches, and the span in milliseconds over
// which the flashing settings arrive, evenly, as LEDs switched one after another (0: all at once,
// in one burst). The peer comparison starts its LEDs over the same spans. Each run belongs in a
// process of its own (the peak resident size is the process's).
#include <benchmark/benchmark.h>

#include <sys/timerfd.h>
#include <unistd.h>

#include <cmath>
#include <stdexcept>

#include "bench/support/AgentRig.h"
#include "bench/support/Measure.h"
#include "bench/support/SettingPublisher.h"
#include "bench/support/TickObserver.h"
#include "platform/model/CorvelPinConfig.h"
#include "platform/zel/Allocate.h"

namespace PinlampBench {
namespace {

constexpr double kFlashInterval = 0.5;

// One observer on each LED's yellow pin.
std::vector<Ptr<TickObserver>> observersOf(AgentRig const& rig, std::size_t count,
                                           TickObserver::Log* log) {
  std::vector<Ptr<TickObserver>> observers;
  observers.reserve(count);
  Zel::Dir const& pins = *rig.agent().gpioPinConfigDir();
  for (std::size_t i = 0; i < count; ++i) {
    auto pin = Zel::ptrCast<Hardware::Gpio::CorvelPinConfig const>(
        pins.entityRef(AgentRig::pinName('Y', i)));
    auto machine = rig.reactor().gpioLedStateMachine(AgentRig::ledName(i));
    if (!pin || !machine) throw std::runtime_error("LED without pins or state machine");
    observers.push_back(Zel::allocate<TickObserver>(pin, machine, kFlashInterval, log));
  }
  return observers;
}

// Two stretches of `seconds` each: the first with an observer on every LED, for the lateness;
// the second, LEDs still flashing, without them, for what flashing alone costs.
void liveTicks(benchmark::State& state) {
  auto const leds = static_cast<std::size_t>(state.range(0));
  auto const seconds = static_cast<double>(state.range(1));
  double const spread = static_cast<double>(state.range(2)) / 1000.0;
  for (auto _ : state) {
    AgentRig rig(Zel::ActivityManager::TimeSource::monotonic);
    rig.publishLeds(leds, AgentRig::Mix::allDark);
    rig.startAgentAndSettle();

    Zel::ActivityManager& loop = rig.loop();
    TickObserver::Log lateness;
    lateness.reserve(static_cast<std::size_t>(seconds / kFlashInterval + 2) * leds);
    std::vector<Ptr<TickObserver>> const observers = observersOf(rig, leds, &lateness);
    auto publisher = Zel::allocate<SettingPublisher>(rig, leds, flashing(kFlashInterval),
                                                     loop.currentTime(), spread);
    LoopCost const observed = runLoop(loop, seconds);
    publisher->notifierIs(nullptr);
    for (Ptr<TickObserver> const& observer : observers) observer->notifierIs(nullptr);
    LoopCost const flashingOnly = runLoop(loop, seconds);
    state.SetIterationTime(observed.seconds + flashingOnly.seconds);

    state.counters["ticks"] = static_cast<double>(lateness.size());
    // Every tick but each LED's first, which has no earlier change to be compared with.
    state.counters["ticks_expected"] =
        static_cast<double>(leds) * ((seconds - spread / 2) / kFlashInterval - 2);
    state.counters["late_p50_us"] = quantile(lateness, 0.50) * 1e6;
    state.counters["late_p99_us"] = quantile(lateness, 0.99) * 1e6;
    state.counters["late_max_us"] = quantile(lateness, 1.0) * 1e6;
    state.counters["cpu_share_pct"] = 100.0 * flashingOnly.cpuShare;
    state.counters["wakes_per_s"] = flashingOnly.wakesPerSecond;
    state.counters["observed_cpu_share_pct"] = 100.0 * observed.cpuShare;
    state.counters["observed_wakes_per_s"] = observed.wakesPerSecond;
    state.counters["peak_rss_bytes"] = static_cast<double>(peakResidentBytes());
  }
}

BENCHMARK(liveTicks)
    ->Name("LiveTicks")
    ->ArgNames({"leds", "seconds", "spread_ms"})
    ->Args({10000, 20, 500})
    ->Args({10000, 20, 0})
    ->Args({1000, 10, 0})
    ->Args({1000, 10, 200})
    ->Args({100, 10, 0})
    ->Args({100, 10, 200})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

// The machine's own limit: how late a bare thread wakes from an absolute timerfd, with no
// framework and no agent, at one wake per millisecond. No tick can be on time more reliably.
void timerBaseline(benchmark::State& state) {
  auto const seconds = static_cast<double>(state.range(0));
  constexpr double kPeriod = 0.001;
  for (auto _ : state) {
    int const timer = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
    if (timer < 0) throw std::runtime_error("no timerfd");
    std::vector<double> lateness;
    lateness.reserve(static_cast<std::size_t>(seconds / kPeriod) + 1);
    double const cpu = cpuSeconds();
    double const start = wallSeconds();
    for (double due = start + kPeriod; due < start + seconds; due += kPeriod) {
      itimerspec setting{};
      setting.it_value.tv_sec = static_cast<time_t>(due);
      setting.it_value.tv_nsec = static_cast<long>((due - std::floor(due)) * 1e9);
      ::timerfd_settime(timer, TFD_TIMER_ABSTIME, &setting, nullptr);
      std::uint64_t expirations = 0;
      if (::read(timer, &expirations, sizeof expirations) < 0) break;
      lateness.push_back(wallSeconds() - due);
    }
    double const elapsed = wallSeconds() - start;
    ::close(timer);
    state.SetIterationTime(elapsed);
    state.counters["late_p50_us"] = quantile(lateness, 0.50) * 1e6;
    state.counters["late_p99_us"] = quantile(lateness, 0.99) * 1e6;
    state.counters["late_max_us"] = quantile(lateness, 1.0) * 1e6;
    state.counters["cpu_share_pct"] = 100.0 * (cpuSeconds() - cpu) / elapsed;
  }
}

BENCHMARK(timerBaseline)
    ->Name("TimerBaseline")
    ->ArgName("seconds")
    ->Arg(10)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

}  // namespace
}  // namespace PinlampBench

BENCHMARK_MAIN();
