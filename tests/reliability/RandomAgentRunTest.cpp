// The agent driven through the real database by a seeded stream of other agents' changes and
// virtual time, checked after every step against the reference model, then destroyed with nothing
// left alive. Several seeds run as separate tests, so ctest spreads them over the cores.
//
// Replay or long run of one seed:
//   PINLAMP_RANDOM_SEED=<seed> PINLAMP_RANDOM_STEPS=<steps>
//       reliability_tests --gtest_filter='RandomAgentReplay.*'
#include <gtest/gtest.h>

#include "tests/reliability/RandomRun.h"

namespace PinlampReliability {
namespace {

// 8 seeds of 40,000 steps: 320,000 checked steps per test run.
constexpr std::uint64_t kStepsPerSeed = 40000;

std::string runSeed(std::uint64_t seed, std::uint64_t steps) {
  RandomRun run(seed);
  std::string report = run.steps(steps);
  if (report.empty()) report = run.finish();
  return report;
}

class RandomAgentRun : public testing::TestWithParam<std::uint64_t> {};

TEST_P(RandomAgentRun, FollowsTheModelAndLeavesNothingBehind) {
  std::string const report = runSeed(GetParam(), stepsFromEnvironment(kStepsPerSeed));
  if (!report.empty()) ADD_FAILURE() << report;
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomAgentRun, testing::Range<std::uint64_t>(1, 9));

TEST(RandomAgentReplay, SeedFromEnvironment) {
  std::uint64_t seed = 0;
  if (!seedFromEnvironment(seed)) GTEST_SKIP() << "set PINLAMP_RANDOM_SEED to replay a seed";
  std::string const report = runSeed(seed, stepsFromEnvironment(kStepsPerSeed));
  if (!report.empty()) ADD_FAILURE() << report;
}

}  // namespace
}  // namespace PinlampReliability
