// Live tick accuracy: LEDs flashing at 0.5 s on the monotonic clock, the loop running for real.
// Arguments: LED count, seconds of each of the two stretches, the span in milliseconds over
// which the flashing settings arrive, evenly, as LEDs switched one after another (0: all at once,
// in one burst), and the loop's wake span in microseconds (how close together expiries must be
// to share a wake: the loop's 1 ms, or a finer one to show what lateness costs in wakes). The
// peer comparison starts its LEDs over the same spans. Each run belongs in a process of its own
// (the peak resident size is the process's).
#include <benchmark/benchmark.h>

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "bench/support/AgentRig.h"
#include "bench/support/AllocationCounter.h"
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
  double const wakeSpan = static_cast<double>(state.range(3)) / 1e6;
  for (auto _ : state) {
    AgentRig rig(Zel::ActivityManager::TimeSource::monotonic);
    rig.loop().wakeGranularityIs(wakeSpan);
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
    std::uint64_t const allocations = allocationCount();
    LoopCost const flashingOnly = runLoop(loop, seconds);
    auto const allocated = static_cast<double>(allocationCount() - allocations);
    state.SetIterationTime(observed.seconds + flashingOnly.seconds);

    state.counters["ticks"] = static_cast<double>(lateness.size());
    // Every tick but each LED's first, which has no earlier change to be compared with.
    state.counters["ticks_expected"] =
        static_cast<double>(leds) * ((seconds - spread / 2) / kFlashInterval - 2);
    state.counters["late_p50_us"] = quantile(lateness, 0.50) * 1e6;
    state.counters["late_p99_us"] = quantile(lateness, 0.99) * 1e6;
    state.counters["late_max_us"] = quantile(lateness, 1.0) * 1e6;
    TickObserver::Log starts = publisher->lateness();
    state.counters["start_late_p50_us"] = quantile(starts, 0.50) * 1e6;
    state.counters["start_late_p99_us"] = quantile(starts, 0.99) * 1e6;
    state.counters["cpu_share_pct"] = 100.0 * flashingOnly.cpuShare;
    state.counters["wakes_per_s"] = flashingOnly.wakesPerSecond;
    double const ticksPerSecond = static_cast<double>(leds) / kFlashInterval;
    state.counters["cpu_us_per_tick"] = 1e6 * flashingOnly.cpuShare / ticksPerSecond;
    state.counters["allocs_per_tick"] = allocated / (ticksPerSecond * flashingOnly.seconds);
    state.counters["allocs_per_wake"] =
        allocated / std::max(1.0, flashingOnly.wakesPerSecond * flashingOnly.seconds);
    state.counters["observed_cpu_share_pct"] = 100.0 * observed.cpuShare;
    state.counters["observed_wakes_per_s"] = observed.wakesPerSecond;
    state.counters["peak_rss_bytes"] = static_cast<double>(peakResidentBytes());
  }
}

BENCHMARK(liveTicks)
    ->Name("LiveTicks")
    ->ArgNames({"leds", "seconds", "spread_ms", "span_us"})
    ->Args({10000, 20, 500, 1000})
    ->Args({10000, 20, 500, 250})
    ->Args({10000, 20, 500, 500})
    ->Args({10000, 20, 0, 1000})
    ->Args({1000, 10, 0, 1000})
    ->Args({1000, 10, 200, 1000})
    ->Args({100, 10, 0, 1000})
    ->Args({100, 10, 200, 1000})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

// A bare thread waking from an absolute timerfd once per `period`, with no framework and no
// agent: how late each wake is, and what the waking costs.
struct BareWakes {
  std::vector<double> lateness;
  double cpuSeconds;
  double seconds;
};

BareWakes bareTimerWakes(double seconds, double period) {
  int const timer = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  if (timer < 0) throw std::runtime_error("no timerfd");
  BareWakes wakes{{}, 0, 0};
  wakes.lateness.reserve(static_cast<std::size_t>(seconds / period) + 1);
  double const cpu = cpuSeconds();
  double const start = wallSeconds();
  for (double due = start + period; due < start + seconds; due += period) {
    itimerspec setting{};
    setting.it_value.tv_sec = static_cast<time_t>(due);
    setting.it_value.tv_nsec = static_cast<long>((due - std::floor(due)) * 1e9);
    ::timerfd_settime(timer, TFD_TIMER_ABSTIME, &setting, nullptr);
    std::uint64_t expirations = 0;
    if (::read(timer, &expirations, sizeof expirations) < 0) break;
    wakes.lateness.push_back(wallSeconds() - due);
  }
  wakes.seconds = wallSeconds() - start;
  wakes.cpuSeconds = cpuSeconds() - cpu;
  ::close(timer);
  return wakes;
}

// The machine's own limit: how late a bare thread wakes from an absolute timerfd, at one wake
// per millisecond. No tick can be on time more reliably.
void timerBaseline(benchmark::State& state) {
  auto const seconds = static_cast<double>(state.range(0));
  for (auto _ : state) {
    BareWakes wakes = bareTimerWakes(seconds, 0.001);
    state.SetIterationTime(wakes.seconds);
    state.counters["late_p50_us"] = quantile(wakes.lateness, 0.50) * 1e6;
    state.counters["late_p99_us"] = quantile(wakes.lateness, 0.99) * 1e6;
    state.counters["late_max_us"] = quantile(wakes.lateness, 1.0) * 1e6;
    state.counters["cpu_share_pct"] = 100.0 * wakes.cpuSeconds / wakes.seconds;
  }
}

BENCHMARK(timerBaseline)
    ->Name("TimerBaseline")
    ->ArgName("seconds")
    ->Arg(10)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

// A reactor of the loop that re-arms itself a period after each time it runs: the loop's own
// cost of a wake, with no work in it.
class Ticker : public Zel::Clock::NotifieeConst {
 public:
  Ticker(Zel::ActivityManager& loop, double period)
      : Zel::Clock::NotifieeConst(Ptr<Zel::Clock const>(loop.clock())),
        loop_(loop),
        period_(period) {
    timeMinIs(loop.currentTime() + period);
  }
  void onTime() override { timeMinIs(loop_.currentTime() + period_); }

 private:
  Zel::ActivityManager& loop_;
  double period_;
};

// What a wake of the loop costs beside a bare timerfd wake, both once a millisecond, one after
// the other in the same process: CPU per wake and allocations per wake of the loop.
void wakeCost(benchmark::State& state) {
  auto const seconds = static_cast<double>(state.range(0));
  constexpr double kPeriod = 0.001;
  for (auto _ : state) {
    BareWakes const bare = bareTimerWakes(seconds, kPeriod);
    Zel::ActivityManager loop(Zel::ActivityManager::TimeSource::monotonic);
    Ptr<Ticker> const ticker = Zel::allocate<Ticker>(loop, kPeriod);
    loop.runFor(0.05);  // the poller is made and the first wakes are behind
    std::uint64_t const allocations = allocationCount();
    LoopCost const cost = runLoop(loop, seconds);
    auto const allocated = static_cast<double>(allocationCount() - allocations);
    ticker->timeMinIs(Zel::Clock::kNever);
    double const wakes = cost.wakesPerSecond * cost.seconds;
    state.SetIterationTime(bare.seconds + cost.seconds);
    state.counters["bare_us_per_wake"] =
        1e6 * bare.cpuSeconds / static_cast<double>(std::max<std::size_t>(1, bare.lateness.size()));
    state.counters["loop_us_per_wake"] = 1e6 * cost.cpuShare * cost.seconds / std::max(1.0, wakes);
    state.counters["loop_wakes_per_s"] = cost.wakesPerSecond;
    state.counters["loop_allocs_per_wake"] = allocated / std::max(1.0, wakes);
  }
}

BENCHMARK(wakeCost)
    ->Name("WakeCost")
    ->ArgName("seconds")
    ->Arg(10)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

}  // namespace
}  // namespace PinlampBench

BENCHMARK_MAIN();
