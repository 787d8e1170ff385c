// The pin driver behind the real agent, writing every pin into one file of all values in a
// temporary directory, as a simulation runs it.
//
// Switching: LEDs switch between green and green+red, ten times a second each, in batches spread
// evenly over each tenth of a second. The agent writes every colour dark and then the lit ones, so
// green goes dark and lit again within the change: unlatched, the driver writes it twice and red
// once; latched, only red, whose final value changed. Virtual time, so that the write counts do
// not depend on the machine; the CPU figure is process CPU time per simulated second, the share
// of one core the same load would take live.
//
// Flashing: LEDs flashing at 0.5 s on the monotonic clock with the loop running for real; the
// CPU share is the whole process's, agent, loop and driver.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/support/AgentRig.h"
#include "bench/support/Measure.h"
#include "bench/support/SettingPublisher.h"
#include "host/pins/PinDriver.h"
#include "platform/model/CorvelPinConfig.h"
#include "platform/zel/Allocate.h"

namespace PinlampBench {
namespace {

using Hardware::Gpio::CorvelPinConfig;

constexpr char kColours[] = "YGRO";
constexpr double kSwitchPeriod = 0.1;          // ten changes a second per LED
constexpr std::size_t kBatchesPerPeriod = 10;  // another agent's publications: one each 10 ms
constexpr double kFlashInterval = 0.5;

// How the pins reach the file in a run.
enum Driving : int { noDriver = 0, unlatched = 1, latched = 2 };

class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "drivebench-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("no temporary directory");
    path_ = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(TempDir const&) = delete;
  TempDir& operator=(TempDir const&) = delete;
  std::string file(char const* name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

// Every pin of every LED in the one values file.
Drive::PinMap valuesFileMap(std::size_t leds, std::string valuesFile) {
  Drive::PinMap map;
  map.source = "bench.toml";
  map.sysfsRoot = "/sys";
  map.valuesFile = std::move(valuesFile);
  map.pins.reserve(leds * 4);
  for (std::size_t i = 0; i < leds; ++i) {
    for (char const* colour = kColours; *colour; ++colour) {
      Drive::PinAddress& address = map.pins.emplace_back();
      address.pin = AgentRig::pinName(*colour, i);
      address.backend = Drive::Backend::file;
      address.line = static_cast<int>(map.pins.size());
      map.index.emplace(address.pin, map.pins.size() - 1);
    }
  }
  return map;
}

std::unique_ptr<Drive::PinDriver> startDriver(AgentRig& rig, std::size_t leds, Driving driving,
                                              std::string const& valuesFile) {
  if (driving == noDriver) return nullptr;
  Drive::DriverOptions options;
  options.latch = driving == latched;
  auto driver = std::make_unique<Drive::PinDriver>(
      valuesFileMap(leds, valuesFile), rig.pinDir(), rig.loop(),
      [](std::string const& line) { throw std::runtime_error("driver: " + line); }, options);
  rig.loop().runPending();
  return driver;
}

// The values file must end as the agent's pins stand: every latch reached it.
void checkValuesFile(AgentRig const& rig, std::size_t leds, std::string const& path) {
  std::ifstream in(path);
  std::string pin;
  long value = 0;
  std::size_t lines = 0;
  while (in >> pin >> value) {
    std::size_t const index = std::stoul(pin.substr(1));
    if (index >= leds || rig.pinValue(index, pin[0]) != value) {
      throw std::runtime_error("values file differs from the agent at pin " + pin);
    }
    ++lines;
  }
  if (lines != leds * 4) throw std::runtime_error("values file incomplete");
}

Led::LightSetting greenAndMaybeRed(bool red) {
  Led::LightSetting setting;
  setting.green = true;
  setting.red = red;
  return setting;
}

// Plays the other agent: one batch of LEDs switched per wake, each LED once a period. Before
// each batch it counts the pins of the previous batch whose value ended different from what it
// was, as anyone reading the pins after the turn sees them: the writes a driver cannot avoid.
class Switcher : public Zel::Clock::NotifieeConst {
 public:
  Switcher(AgentRig& rig, std::size_t leds, double start)
      : Zel::Clock::NotifieeConst(rig.loop().clock()),
        rig_(&rig),
        leds_(leds),
        perBatch_(leds / kBatchesPerPeriod),
        start_(start),
        red_(leds, false) {
    Zel::Dir const& pins = *rig.agent().gpioPinConfigDir();
    pins_.reserve(leds * 4);
    for (std::size_t i = 0; i < leds; ++i) {
      for (char const* colour = kColours; *colour; ++colour) {
        auto pin =
            Zel::ptrCast<CorvelPinConfig const>(pins.entityRef(AgentRig::pinName(*colour, i)));
        if (!pin) throw std::runtime_error("LED without pins");
        pins_.push_back(pin);
        seen_.push_back(pin->value());
      }
    }
    hasNotificationActiveIs(true);
    timeMinIs(start_);
  }

  void onTime() override {
    if (batch_ > 0) countFinalChanges(batch_ - 1);
    std::size_t const first = (batch_ % kBatchesPerPeriod) * perBatch_;
    for (std::size_t i = first; i < first + perBatch_; ++i) {
      red_[i] = !red_[i];
      rig_->changeSetting(i, greenAndMaybeRed(red_[i]));
      ++settingChanges_;
    }
    ++batch_;
    timeMinIs(start_ + static_cast<double>(batch_) * kSwitchPeriod / kBatchesPerPeriod);
  }

  // After the last wake: the last batch's outcome.
  void finish() {
    if (batch_ > 0) countFinalChanges(batch_ - 1);
    timeMinIs(Zel::Clock::kNever);
  }

  std::uint64_t finalChanges() const noexcept { return finalChanges_; }
  std::uint64_t settingChanges() const noexcept { return settingChanges_; }

 private:
  void countFinalChanges(std::size_t batch) {
    std::size_t const first = (batch % kBatchesPerPeriod) * perBatch_;
    for (std::size_t pin = first * 4; pin < (first + perBatch_) * 4; ++pin) {
      std::uint32_t const now = pins_[pin]->value();
      if (now == seen_[pin]) continue;
      seen_[pin] = now;
      ++finalChanges_;
    }
  }

  AgentRig* rig_;
  std::size_t leds_;
  std::size_t perBatch_;
  double start_;
  std::vector<bool> red_;
  std::vector<Zel::Ptr<CorvelPinConfig const>> pins_;  // four per LED, in LED order
  std::vector<std::uint32_t> seen_;
  std::size_t batch_ = 0;
  std::uint64_t finalChanges_ = 0;
  std::uint64_t settingChanges_ = 0;
};

void driverSwitching(benchmark::State& state) {
  auto const leds = static_cast<std::size_t>(state.range(0));
  auto const driving = static_cast<Driving>(state.range(1));
  double const simulated = static_cast<double>(state.range(2)) / 1000.0;
  for (auto _ : state) {
    TempDir dir;
    std::string const valuesFile = dir.file("pins");
    AgentRig rig(Zel::ActivityManager::TimeSource::virtualTime);
    rig.publishLeds(leds, AgentRig::Mix::allDark);
    rig.startAgentAndSettle();
    // Every LED green before the driver starts: the runs begin from the same lit pins.
    for (std::size_t i = 0; i < leds; ++i) rig.changeSetting(i, greenAndMaybeRed(false));
    rig.loop().runPending();
    std::unique_ptr<Drive::PinDriver> driver = startDriver(rig, leds, driving, valuesFile);
    // Unlatched, the driver's start writes every pin once: not part of the switching.
    std::uint64_t const startWrites = driver ? driver->writeCount() : 0;
    auto switcher = Zel::allocate<Switcher>(rig, leds, rig.loop().currentTime() + 0.001);

    double const cpu = cpuSeconds();
    // Stops just short of the batch due at the end, so that every batch has a whole period.
    rig.loop().advance(simulated - 0.0005);
    double const used = cpuSeconds() - cpu;
    switcher->finish();
    state.SetIterationTime(used);

    double const writes = driver ? static_cast<double>(driver->writeCount() - startWrites) : 0.0;
    double const finals = static_cast<double>(switcher->finalChanges());
    if (driving == latched && writes != finals) {
      state.SkipWithError("the latched driver wrote other pins than those whose value changed");
      break;
    }
    if (driver) checkValuesFile(rig, leds, valuesFile);
    state.counters["setting_changes_per_s"] =
        static_cast<double>(switcher->settingChanges()) / simulated;
    state.counters["pin_writes_per_s"] = writes / simulated;
    state.counters["final_changes_per_s"] = finals / simulated;
    state.counters["cpu_pct"] = 100.0 * used / simulated;
    switcher->notifierIs(nullptr);
  }
}

// Unlatched, each pin write is a write of its own: a short stretch says enough.
BENCHMARK(driverSwitching)
    ->Name("DriverSwitching")
    ->ArgNames({"leds", "driving", "simulated_ms"})
    ->Args({10000, noDriver, 2000})
    ->Args({10000, latched, 2000})
    ->Args({10000, unlatched, 20})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

// Flashing live, started in one burst or spread over 500 ms: a settling second, then `seconds`
// measured.
void driverFlashing(benchmark::State& state) {
  auto const leds = static_cast<std::size_t>(state.range(0));
  auto const seconds = static_cast<double>(state.range(1));
  double const spread = static_cast<double>(state.range(2)) / 1000.0;
  for (auto _ : state) {
    TempDir dir;
    std::string const valuesFile = dir.file("pins");
    AgentRig rig(Zel::ActivityManager::TimeSource::monotonic);
    rig.publishLeds(leds, AgentRig::Mix::allDark);
    rig.startAgentAndSettle();
    std::unique_ptr<Drive::PinDriver> driver = startDriver(rig, leds, latched, valuesFile);
    Zel::ActivityManager& loop = rig.loop();
    auto publisher = Zel::allocate<SettingPublisher>(rig, leds, flashing(kFlashInterval),
                                                     loop.currentTime(), spread);
    loop.runFor(spread + 1.0);
    publisher->notifierIs(nullptr);

    std::uint64_t const writes = driver->writeCount();
    LoopCost const cost = runLoop(loop, seconds);
    state.SetIterationTime(cost.seconds);
    checkValuesFile(rig, leds, valuesFile);
    state.counters["pin_writes_per_s"] =
        static_cast<double>(driver->writeCount() - writes) / cost.seconds;
    state.counters["pin_writes_expected_per_s"] = static_cast<double>(leds) / kFlashInterval;
    state.counters["wakes_per_s"] = cost.wakesPerSecond;
    state.counters["cpu_share_pct"] = 100.0 * cost.cpuShare;
  }
}

BENCHMARK(driverFlashing)
    ->Name("DriverFlashing")
    ->ArgNames({"leds", "seconds", "spread_ms"})
    ->Args({10000, 20, 0})
    ->Args({10000, 20, 500})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

}  // namespace
}  // namespace PinlampBench

BENCHMARK_MAIN();
