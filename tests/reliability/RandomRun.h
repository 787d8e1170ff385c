// One seeded random run of the agent against the model: steps, the checks after each, the
// teardown, and a report that names the seed, the failing step, the steps before it and how to
// replay it.
#pragma once

#include <cstdint>
#include <deque>
#include <string>

#include "tests/reliability/LedWorld.h"
#include "tests/reliability/RandomSteps.h"

namespace PinlampReliability {

// Environment variables: PINLAMP_RANDOM_STEPS (steps per seed) and PINLAMP_RANDOM_SEED (the seed
// that the replay test runs).
std::uint64_t stepsFromEnvironment(std::uint64_t fallback);
bool seedFromEnvironment(std::uint64_t& seed);

class RandomRun {
 public:
  static constexpr std::size_t kLeds = 6;
  static constexpr std::size_t kPins = 10;
  // Steps between two checks of everything; in between only the LEDs a step touched are checked.
  static constexpr std::uint64_t kSweepEvery = 16;

  explicit RandomRun(std::uint64_t seed);
  ~RandomRun();
  RandomRun(RandomRun const&) = delete;
  RandomRun& operator=(RandomRun const&) = delete;

  // Runs `count` more steps (starting the agent first if need be); "" when the agent followed the
  // model all the way, else the report.
  std::string steps(std::uint64_t count);
  // Makes every mapping ready, destroys the agent and releases everything, checking that nothing
  // is left alive.
  std::string finish();

  LedWorld& world() noexcept { return world_; }
  RandomSteps& generator() noexcept { return steps_; }
  // The seed, the step, the mismatch, the steps before it and how to replay them.
  std::string report(std::string const& mismatch) const;

 private:
  std::string start();
  std::string check(Step const& step);
  void remember(std::string const& description);

  std::uint64_t seed_;
  LedWorld world_;
  RandomSteps steps_;
  bool started_ = false;
  std::uint64_t stepIndex_ = 0;
  bool tearingDown_ = false;
  std::deque<std::string> recent_;
};

}  // namespace PinlampReliability
