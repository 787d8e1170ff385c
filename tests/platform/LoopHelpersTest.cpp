// The loop's timer and weak reference, as their users lean on them: owners that die inside
// their own callbacks, repeating work after a stall, queued work that outlives its owner.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "platform/zel/ActivityManager.h"
#include "platform/zel/Timer.h"
#include "platform/zel/WeakPtr.h"

namespace {

using Zel::ActivityManager;

TEST(TimerTest, OnceRunsOnceAtItsTimeAndNeverOnceStoppedOrDestroyed) {
  ActivityManager loop(ActivityManager::TimeSource::virtualTime, 100.0);
  std::vector<double> runs;
  Zel::Timer timer(loop, [&] { runs.push_back(loop.currentTime()); });
  timer.startIn(1.0);
  timer.startAt(102.5);
  EXPECT_EQ(timer.time(), 102.5);
  loop.advance(5.0);
  EXPECT_EQ(runs, std::vector<double>{102.5});
  EXPECT_FALSE(timer.isRunning());
  EXPECT_EQ(timer.time(), Zel::Clock::kNever);

  timer.startIn(1.0);
  timer.stop();
  loop.advance(5.0);
  EXPECT_EQ(runs.size(), 1u);

  {
    Zel::Timer destroyed(loop, [&] { runs.push_back(-1); });
    destroyed.startIn(1.0);
  }
  EXPECT_EQ(loop.clock()->armedCount(), 0u) << "the loop would still wake for a destroyed timer";
  loop.advance(5.0);
  EXPECT_EQ(runs.size(), 1u) << "a destroyed timer ran";
}

TEST(TimerTest, RepeatingRunsEveryIntervalAndStopsForGoodWhenStopped) {
  ActivityManager loop(ActivityManager::TimeSource::virtualTime, 0.0);
  std::vector<double> runs;
  Zel::Timer timer(loop, [&] { runs.push_back(loop.currentTime()); });
  timer.startRepeating(0.25);
  loop.advance(1.0);
  EXPECT_EQ(runs, (std::vector<double>{0.25, 0.5, 0.75, 1.0}));
  timer.stop();
  loop.advance(1.0);
  EXPECT_EQ(runs.size(), 4u);
  // A one-shot setting after repeating is a one-shot: the interval does not linger.
  timer.startRepeating(0.25);
  timer.startIn(0.1);
  loop.advance(1.0);
  EXPECT_EQ(runs.size(), 5u);
}

TEST(TimerTest, ItsFunctionMayStopReArmOrDestroyTheTimerAndHasTheLastWord) {
  ActivityManager loop(ActivityManager::TimeSource::virtualTime, 0.0);
  int runs = 0;
  double nextSeenInside = 0;
  std::unique_ptr<Zel::Timer> timer;
  timer = std::make_unique<Zel::Timer>(loop, [&] {
    ++runs;
    if (runs == 1) nextSeenInside = timer->time();  // the next run is already set
    if (runs == 1) timer->startIn(3.0);             // a repeating timer re-armed further out
    if (runs == 2) timer->stop();
  });
  timer->startRepeating(1.0);
  loop.advance(10.0);
  EXPECT_EQ(runs, 2);  // at 1, then at 4, then stopped
  EXPECT_EQ(nextSeenInside, 2.0);

  int destroyedRuns = 0;
  std::unique_ptr<Zel::Timer> doomed;
  doomed = std::make_unique<Zel::Timer>(loop, [&] {
    ++destroyedRuns;
    doomed.reset();
  });
  doomed->startRepeating(1.0);
  loop.advance(5.0);
  EXPECT_EQ(destroyedRuns, 1);
  EXPECT_EQ(doomed, nullptr);
  EXPECT_EQ(loop.clock()->armedCount(), 0u);
}

struct Owner {
  int calls = 0;
  void call() { ++calls; }
  Zel::WeakPtrFactory<Owner> weak{this};
};

TEST(WeakPtrTest, QueuedWorkReachesItsOwnerOnlyWhileTheOwnerLives) {
  ActivityManager loop(ActivityManager::TimeSource::virtualTime, 0.0);
  auto owner = std::make_unique<Owner>();
  Owner* seen = owner.get();
  loop.taskIs([self = owner->weak.weakPtr()] {
    if (self) self->call();
  });
  loop.runPending();
  EXPECT_EQ(seen->calls, 1);

  Zel::WeakPtr<Owner> late = owner->weak.weakPtr();
  loop.taskIs([self = late] {
    if (self) self->call();
  });
  owner.reset();
  loop.runPending();  // would touch freed memory (ASan) if the check did not hold
  EXPECT_EQ(late.get(), nullptr);
  EXPECT_FALSE(Zel::WeakPtr<Owner>());
}

TEST(WeakPtrTest, InvalidateAllCutsTheOldPointersAndLaterOnesAreValid) {
  Owner owner;
  auto old = owner.weak.weakPtr();
  EXPECT_TRUE(owner.weak.hasWeakPtrs());
  owner.weak.invalidateAll();
  EXPECT_FALSE(old);
  EXPECT_FALSE(owner.weak.hasWeakPtrs());
  auto fresh = owner.weak.weakPtr();
  EXPECT_EQ(fresh.get(), &owner);
  EXPECT_FALSE(old) << "a later pointer revived an invalidated one";
}

}  // namespace
