#include "tests/reliability/RandomRun.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <sstream>

namespace PinlampReliability {

namespace {

constexpr std::size_t kRecentKept = 16;

// A step that ends the process (an assertion or an exception in a handler that may not throw)
// still names its seed and step: the run in progress reports before the process goes.
RandomRun const* runInProgress = nullptr;
std::terminate_handler previousTerminateHandler = nullptr;

void reportThenTerminate() {
  if (runInProgress) {
    std::string const report = runInProgress->report("the process is ending");
    std::fprintf(stderr, "%s\n", report.c_str());
  }
  if (previousTerminateHandler) previousTerminateHandler();
  std::abort();
}

bool numberFromEnvironment(char const* variable, std::uint64_t& value) {
  char const* text = std::getenv(variable);
  if (!text || !*text) return false;
  char* end = nullptr;
  unsigned long long const parsed = std::strtoull(text, &end, 10);
  if (*end != '\0') return false;
  value = parsed;
  return true;
}

}  // namespace

std::uint64_t stepsFromEnvironment(std::uint64_t fallback) {
  std::uint64_t steps = fallback;
  numberFromEnvironment("PINLAMP_RANDOM_STEPS", steps);
  return steps;
}

bool seedFromEnvironment(std::uint64_t& seed) {
  return numberFromEnvironment("PINLAMP_RANDOM_SEED", seed);
}

RandomRun::RandomRun(std::uint64_t seed) : seed_(seed), world_(kLeds, kPins), steps_(world_, seed) {
  runInProgress = this;
  previousTerminateHandler = std::set_terminate(&reportThenTerminate);
}

RandomRun::~RandomRun() {
  std::set_terminate(previousTerminateHandler);
  runInProgress = nullptr;
}

std::string RandomRun::start() {
  if (started_) return "";
  started_ = true;
  return world_.agentStarted();
}

std::string RandomRun::steps(std::uint64_t count) {
  if (std::string const mismatch = start(); !mismatch.empty()) return report(mismatch);
  for (std::uint64_t i = 0; i < count; ++i) {
    ++stepIndex_;
    Step const step = steps_.next();
    remember(step.description);
    if (std::string const mismatch = check(step); !mismatch.empty()) return report(mismatch);
  }
  return "";
}

std::string RandomRun::finish() {
  if (std::string const mismatch = start(); !mismatch.empty()) return report(mismatch);
  tearingDown_ = true;
  Step const step = steps_.readyAll();
  remember("teardown: " + step.description);
  if (std::string const mismatch = check(step); !mismatch.empty()) return report(mismatch);
  remember("teardown: destroy the agent and release everything");
  if (std::string const mismatch = world_.released(); !mismatch.empty()) return report(mismatch);
  return "";
}

std::string RandomRun::check(Step const& step) {
  if (!step.mismatch.empty()) return step.mismatch;
  std::string mismatch;
  for (std::string const& led : step.touched) mismatch += world_.ledMismatch(led);
  if (step.sweep || tearingDown_ || stepIndex_ % kSweepEvery == 0) {
    mismatch += world_.fullMismatch();
  }
  return mismatch;
}

void RandomRun::remember(std::string const& description) {
  recent_.push_back(std::to_string(stepIndex_) + ": " + description);
  if (recent_.size() > kRecentKept) recent_.pop_front();
}

std::string RandomRun::report(std::string const& mismatch) const {
  std::ostringstream out;
  out << "seed " << seed_ << (tearingDown_ ? ", teardown after step " : ", step ") << stepIndex_
      << ": " << mismatch << "\nrecent steps:\n";
  for (std::string const& line : recent_) out << "  " << line << "\n";
  out << "replay: PINLAMP_RANDOM_SEED=" << seed_ << " PINLAMP_RANDOM_STEPS=" << stepIndex_
      << " reliability_tests --gtest_filter='RandomAgentReplay.*'";
  return out.str();
}

}  // namespace PinlampReliability
