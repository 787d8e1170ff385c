#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Trace.h"

namespace {

using Zel::ActivityManagerScope;
using Source = Zel::ActivityManager::TimeSource;

TEST(ActivityLoopTest, EachScopeBringsBackTheLoopBelowItEvenWhenScopesEndOutOfTurn) {
  ActivityManagerScope outer(Source::virtualTime, 10.0);
  {
    ActivityManagerScope inner(Source::virtualTime, 20.0);
    EXPECT_EQ(Zel::activityManager(), &*inner);
    EXPECT_EQ(Zel::System::currentTime(), 20.0);
  }
  EXPECT_EQ(Zel::activityManager(), &*outer);

  auto first = std::make_unique<ActivityManagerScope>(Source::virtualTime, 30.0);
  auto second = std::make_unique<ActivityManagerScope>(Source::virtualTime, 40.0);
  first.reset();  // the older one ends first: the newer stays installed
  EXPECT_EQ(Zel::activityManager(), &**second);
  second.reset();
  EXPECT_EQ(Zel::activityManager(), &*outer);
}

// A fresh process (the death-test child) that traces before any loop exists.
TEST(ActivityLoopDeathTest, TracingWithoutALoopMakesNone) {
  EXPECT_EXIT(
      {
        Zel::CapturingTraceSink sink;
        Zel::traceSinkIs(&sink);
        Zel::traceLevelsIs("ActivityLoopTest", 1u << 3);
        Zel::TraceHandle const handle("ActivityLoopTest", false);
        ZEL_TRACE(handle, 3, "Pinlamp", 1, "f", "before any loop");
        bool const clean = Zel::installedActivityManager() == nullptr &&
                           sink.records().size() == 1 && sink.records()[0].time > 0.0;
        std::exit(clean ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(ActivityLoopTest, ADescriptorThatCannotBeWatchedFailsEveryTimeWithTheCallAndDescriptor) {
  ActivityManagerScope loop(Source::monotonic);
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  int const fd = fileno(file);
  std::string const where = "epoll_ctl ADD (fd " + std::to_string(fd) + ")";
  for (int attempt = 0; attempt < 2; ++attempt) {  // a failed watch is not half-kept
    try {
      loop->fdReadableIs(fd, [] {});
      ADD_FAILURE() << "a regular file was accepted";
    } catch (std::system_error const& e) {
      EXPECT_NE(std::string(e.what()).find(where), std::string::npos) << e.what();
    }
  }
  std::fclose(file);
}

// A live reactor that runs `onTime` each time it is due.
class Timeout : public Zel::Clock::NotifieeConst {
 public:
  Timeout(Zel::ActivityManager& loop, std::function<void(Timeout&)> onTime)
      : Zel::Clock::NotifieeConst(Zel::Ptr<Zel::Clock const>(loop.clock())),
        onTime_(std::move(onTime)) {}
  void onTime() override { onTime_(*this); }

 private:
  std::function<void(Timeout&)> onTime_;
};

// Wakes by a descriptor leave the loop's timer set for the next expiry, and a handler that moves
// the expiry sooner moves the wake with it.
TEST(ActivityLoopTest, LiveExpiriesComeOnTimeBetweenWakesByADescriptor) {
  ActivityManagerScope scope(Source::monotonic);
  Zel::ActivityManager& loop = *scope;
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  double firedAt = 0;
  auto timeout = Zel::allocate<Timeout>(loop, [&](Timeout&) {
    firedAt = loop.currentTime();
    loop.stop();
  });
  double const start = loop.currentTime();
  timeout->timeMinIs(start + 5.0);
  int reads = 0;
  loop.fdReadableIs(ends[0], [&] {
    char byte;
    ASSERT_EQ(::read(ends[0], &byte, 1), 1);
    // Two wakes by the descriptor with the expiry unchanged, then one that brings it forward.
    if (++reads < 3) {
      ASSERT_EQ(::write(ends[1], "x", 1), 1);
    } else {
      timeout->timeMinIs(loop.currentTime() + 0.02);
    }
  });
  ASSERT_EQ(::write(ends[1], "x", 1), 1);
  loop.runFor(2.0);
  loop.fdReadableIs(ends[0], nullptr);
  ::close(ends[0]);
  ::close(ends[1]);
  EXPECT_EQ(reads, 3);
  EXPECT_GT(firedAt, start);
  EXPECT_LT(firedAt - start, 1.0) << "the wake stayed set for the earlier expiry";
}

// Lateness of a schedule of instants 0.5 ms apart (closer than the loop's 1 ms wakes), each
// taken when a reactor runs and finds it due, the reactor then re-arming for the next instant.
// With `busy`, each run works until the next instant has passed, as a reactor handing out
// settings to thousands of LEDs does; the loop then holds it back to its next turn.
std::vector<double> scheduleLateness(Zel::ActivityManager& loop, bool busy) {
  constexpr int kInstants = 100;
  constexpr double kGap = 0.0005;
  double const start = loop.currentTime() + 0.02;
  auto due = [&](int i) { return start + kGap * i; };
  std::vector<double> lateness;
  int next = 0;
  auto publisher = Zel::allocate<Timeout>(loop, [&](Timeout& self) {
    double const now = loop.currentTime();
    for (; next < kInstants && due(next) <= now; ++next) lateness.push_back(now - due(next));
    self.timeMinIs(next == kInstants ? Zel::Clock::kNever : due(next));
    while (busy && next < kInstants && loop.currentTime() <= due(next)) {
    }
  });
  publisher->timeMinIs(due(0));
  loop.runFor(start - loop.currentTime() + kGap * kInstants + 0.3);
  publisher->timeMinIs(Zel::Clock::kNever);
  std::sort(lateness.begin(), lateness.end());
  return lateness;
}

// A reactor the loop holds back still sets the next wake. Were it left out of the wake, it would
// wait for whatever else is armed (here a slow ticker) and run in clumps far behind its times.
// Both runs share the machine's load, so they are compared with each other, not with a figure.
TEST(ActivityLoopTest, AReactorHeldBackToTheNextTurnRunsInThatTurn) {
  ActivityManagerScope scope(Source::monotonic);
  Zel::ActivityManager& loop = *scope;
  auto ticker = Zel::allocate<Timeout>(
      loop, [&](Timeout& self) { self.timeMinIs(loop.currentTime() + 0.04); });
  ticker->timeMinIs(loop.currentTime() + 0.04);
  std::vector<double> const idle = scheduleLateness(loop, false);
  std::vector<double> const busy = scheduleLateness(loop, true);
  ticker->timeMinIs(Zel::Clock::kNever);
  ASSERT_EQ(idle.size(), 100u);
  ASSERT_EQ(busy.size(), 100u);
  double const idleMedian = idle[idle.size() / 2];
  double const busyMedian = busy[busy.size() / 2];
  // A turn is 1 ms; the clumps of a wake left to the ticker are tens of ms late.
  EXPECT_LT(busyMedian, idleMedian + 0.003)
      << "idle p50 " << idleMedian * 1e3 << " ms, max " << idle.back() * 1e3 << " ms; busy p50 "
      << busyMedian * 1e3 << " ms, max " << busy.back() * 1e3 << " ms";
}

}  // namespace
