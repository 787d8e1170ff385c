// The agent driven through the real database by a seeded stream of other agents' changes and
// virtual time, checked after every step against the reference model, then destroyed with nothing
// left alive. Several seeds run as separate tests, so ctest spreads them over the cores.
//
// Replay or long run of one seed:
//   PINLAMP_RANDOM_SEED=<seed> PINLAMP_RANDOM_STEPS=<steps>
//       reliability_tests --gtest_filter='RandomAgentReplay.*'
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <optional>
#include <sstream>

#include "tests/reliability/LedWorld.h"
#include "tests/reliability/RandomSteps.h"

namespace PinlampReliability {
namespace {

constexpr std::uint64_t kSweepEvery = 16;  // steps between two checks of everything
constexpr std::size_t kRecentKept = 16;

// PINLAMP_RANDOM_STEPS (steps per seed) and PINLAMP_RANDOM_SEED (the seed to replay).
std::optional<std::uint64_t> numberFromEnvironment(char const* variable) {
  char const* text = std::getenv(variable);
  if (!text || !*text) return std::nullopt;
  char* end = nullptr;
  std::uint64_t const value = std::strtoull(text, &end, 10);
  if (*end != '\0') return std::nullopt;
  return value;
}

// One seeded run; a failure is reported with the seed, the step, the steps before it and how to
// replay them. A step that ends the process (an assertion or an exception in a handler that may
// not throw) still names its seed and step: the run in progress reports before the process goes.
class RandomRun {
 public:
  explicit RandomRun(std::uint64_t seed) : seed_(seed), steps_(world_, seed) {
    runInProgress = this;
    previousTerminateHandler = std::set_terminate(&reportThenTerminate);
  }
  ~RandomRun() {
    std::set_terminate(previousTerminateHandler);
    runInProgress = nullptr;
  }
  RandomRun(RandomRun const&) = delete;
  RandomRun& operator=(RandomRun const&) = delete;

  // Runs `count` more steps (starting the agent first if need be); "" or the report.
  std::string steps(std::uint64_t count) {
    std::string mismatch = start();
    for (std::uint64_t i = 0; i < count && mismatch.empty(); ++i) {
      ++stepIndex_;
      Step const step = steps_.next();
      remember(step.description);
      mismatch = check(step);
    }
    return mismatch.empty() ? "" : report(mismatch);
  }

  // Makes every mapping ready, destroys the agent and releases everything: nothing may be left.
  std::string finish() {
    std::string mismatch = start();
    if (mismatch.empty()) {
      tearingDown_ = true;
      Step const step = steps_.readyAll();
      remember("teardown: " + step.description);
      mismatch = check(step);
    }
    if (mismatch.empty()) {
      remember("teardown: destroy the agent and release everything");
      mismatch = world_.released();
    }
    return mismatch.empty() ? "" : report(mismatch);
  }

  std::string report(std::string const& mismatch) const {
    std::ostringstream out;
    out << "seed " << seed_ << (tearingDown_ ? ", teardown after step " : ", step ") << stepIndex_
        << ": " << mismatch << "\nrecent steps:\n";
    for (std::string const& line : recent_) out << "  " << line << "\n";
    out << "replay: PINLAMP_RANDOM_SEED=" << seed_ << " PINLAMP_RANDOM_STEPS=" << stepIndex_
        << " reliability_tests --gtest_filter='RandomAgentReplay.*'";
    return out.str();
  }

  LedWorld& world() noexcept { return world_; }
  RandomSteps& generator() noexcept { return steps_; }

 private:
  static inline RandomRun const* runInProgress = nullptr;
  static inline std::terminate_handler previousTerminateHandler = nullptr;

  static void reportThenTerminate() {
    if (runInProgress) {
      std::fprintf(stderr, "%s\n", runInProgress->report("the process is ending").c_str());
    }
    if (previousTerminateHandler) previousTerminateHandler();
    std::abort();
  }

  std::string start() {
    if (started_) return "";
    started_ = true;
    return world_.agentStarted();
  }

  // Only the LEDs a step touched, unless it may have changed anything or a sweep is due.
  std::string check(Step const& step) {
    if (!step.mismatch.empty()) return step.mismatch;
    std::string mismatch;
    for (std::string const& led : step.touched) mismatch += world_.ledMismatch(led);
    if (step.sweep || tearingDown_ || stepIndex_ % kSweepEvery == 0) {
      mismatch += world_.fullMismatch();
    }
    return mismatch;
  }

  void remember(std::string const& description) {
    recent_.push_back(std::to_string(stepIndex_) + ": " + description);
    if (recent_.size() > kRecentKept) recent_.pop_front();
  }

  std::uint64_t seed_;
  LedWorld world_{6, 10};  // few pins, so that LEDs share them
  RandomSteps steps_;
  bool started_ = false;
  std::uint64_t stepIndex_ = 0;
  bool tearingDown_ = false;
  std::deque<std::string> recent_;
};

// 8 seeds of 40,000 steps: 320,000 checked steps per test run.
std::string runSeed(std::uint64_t seed) {
  RandomRun run(seed);
  std::string const report =
      run.steps(numberFromEnvironment("PINLAMP_RANDOM_STEPS").value_or(40000));
  return report.empty() ? run.finish() : report;
}

class RandomAgentRun : public testing::TestWithParam<std::uint64_t> {};

TEST_P(RandomAgentRun, FollowsTheModelAndLeavesNothingBehind) {
  if (std::string const report = runSeed(GetParam()); !report.empty()) ADD_FAILURE() << report;
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomAgentRun, testing::Range<std::uint64_t>(1, 9));

TEST(RandomAgentReplay, SeedFromEnvironment) {
  std::optional<std::uint64_t> const seed = numberFromEnvironment("PINLAMP_RANDOM_SEED");
  if (!seed) GTEST_SKIP() << "set PINLAMP_RANDOM_SEED to replay a seed";
  if (std::string const report = runSeed(*seed); !report.empty()) ADD_FAILURE() << report;
}

// The two steps that the design makes fail, reached after a seeded random prefix: removing a
// mapping that was never ready ends the process; replacing in one step the configuration of an
// LED that is being driven raises the name-in-use error and keeps the running machine. In both
// the model predicts the failure, and afterwards the agent can still be torn down cleanly.
class FatalStep : public testing::TestWithParam<std::uint64_t> {
 protected:
  void SetUp() override {
    std::string const prefix = run_.steps(400);
    ASSERT_TRUE(prefix.empty()) << prefix;
  }
  void TearDown() override {
    std::string const teardown = run_.finish();
    EXPECT_TRUE(teardown.empty()) << teardown;
  }
  RandomRun run_{GetParam()};
  LedWorld& world_ = run_.world();
};

TEST_P(FatalStep, RemovingAMappingThatWasNeverReadyEndsTheProcess) {
  Step step;
  std::string const led = run_.generator().neverReadyLed(step);
  ASSERT_EQ(step.mismatch + world_.ledMismatch(led), "") << step.description;
  // The model's verdict is taken in the child too: if it disagreed, the child would skip the
  // delivery and live, and the death test would fail. In this process the removal never happens.
  EXPECT_DEATH(
      {
        world_.mappingRemoved(led);
        if (world_.predict() == Outcome::processEnds) world_.runAgentLoop();
      },
      "null ValidPtr");
}

// The machine left watching the old configuration still goes with the agent at teardown.
TEST_P(FatalStep, ReplacingTheConfigurationOfADrivenLedFailsAndKeepsItsMachine) {
  Step step;
  std::string const led = run_.generator().drivenLed(step);
  ASSERT_EQ(step.mismatch, "") << step.description;
  Pinlamp::ConfigReactor const& reactor = *world_.agent().configReactor();
  Zel::Ptr<Pinlamp::GpioLedStateMachine> const machine = reactor.gpioLedStateMachine(led);
  ASSERT_TRUE(machine);
  Zel::Ptr<LedConfig const> const config = machine->hwLedConfig();

  world_.configPublished(led, run_.generator().randomSetting());

  EXPECT_EQ(world_.settle(), "");
  EXPECT_EQ(world_.lastOutcome(), Outcome::nameInUse);
  EXPECT_THAT(world_.lastAgentError(), testing::HasSubstr("_hwLedConfig"));
  EXPECT_EQ(reactor.gpioLedStateMachine(led), machine);
  EXPECT_EQ(machine->hwLedConfig(), config);
  EXPECT_EQ(world_.fullMismatch(), "");
}

INSTANTIATE_TEST_SUITE_P(Seeds, FatalStep, testing::Values(101, 102, 103));

}  // namespace
}  // namespace PinlampReliability
