// The two steps that the design makes fail, reached after a seeded random prefix: removing a
// mapping that was never ready ends the process; replacing in one step the configuration of an
// LED that is being driven raises the name-in-use error and keeps the running machine. In both
// the model predicts the failure, and afterwards the agent can still be torn down cleanly.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reliability/RandomRun.h"

namespace PinlampReliability {
namespace {

constexpr std::uint64_t kPrefixSteps = 400;

class FatalStep : public testing::TestWithParam<std::uint64_t> {};

TEST_P(FatalStep, RemovingAMappingThatWasNeverReadyEndsTheProcess) {
  RandomRun run(GetParam());
  std::string const prefix = run.steps(kPrefixSteps);
  ASSERT_TRUE(prefix.empty()) << prefix;
  Step step;
  std::string const led = run.generator().neverReadyLed(step);
  ASSERT_EQ(step.mismatch, "") << step.description;
  ASSERT_EQ(run.world().ledMismatch(led), "");
  // The model's verdict is taken in the child too: if it disagreed, the child would skip the
  // delivery and live, and the death test would fail.
  EXPECT_DEATH(
      {
        run.world().mappingRemoved(led);
        if (run.world().predict() == Outcome::processEnds) run.world().runAgentLoop();
      },
      "null ValidPtr");
  // Here the removal never happened: with the mapping made ready the agent goes away cleanly.
  std::string const teardown = run.finish();
  EXPECT_TRUE(teardown.empty()) << teardown;
}

TEST_P(FatalStep, ReplacingTheConfigurationOfADrivenLedFailsAndKeepsItsMachine) {
  RandomRun run(GetParam());
  std::string const prefix = run.steps(kPrefixSteps);
  ASSERT_TRUE(prefix.empty()) << prefix;
  Step step;
  std::string const led = run.generator().drivenLed(step);
  ASSERT_EQ(step.mismatch, "") << step.description;
  {
    Pinlamp::ConfigReactor const& reactor = *run.world().agent().configReactor();
    Zel::Ptr<Pinlamp::GpioLedStateMachine> const machine = reactor.gpioLedStateMachine(led);
    ASSERT_TRUE(machine);
    Zel::Ptr<LedConfig const> const config = machine->hwLedConfig();

    run.world().configPublished(led, run.generator().randomSetting());

    EXPECT_EQ(run.world().settle(), "");
    EXPECT_EQ(run.world().lastOutcome(), Outcome::nameInUse);
    EXPECT_THAT(run.world().lastAgentError(), testing::HasSubstr("_hwLedConfig"));
    EXPECT_EQ(reactor.gpioLedStateMachine(led), machine);
    EXPECT_EQ(machine->hwLedConfig(), config);
    EXPECT_EQ(run.world().fullMismatch(), "");
  }
  // The machine left watching the old configuration still goes with the agent.
  std::string const teardown = run.finish();
  EXPECT_TRUE(teardown.empty()) << teardown;
}

INSTANTIATE_TEST_SUITE_P(Seeds, FatalStep, testing::Values(101, 102, 103));

}  // namespace
}  // namespace PinlampReliability
