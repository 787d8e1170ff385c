#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Clock.h"
#include "platform/zel/TimerWheel.h"
#include "platform/zel/Trace.h"

namespace {

using Zel::Ptr;

struct Firing {
  int id;
  double armedFor;
  double sawTime;
};

// Logs each expiry with the time it was armed for and the time the loop showed; re-arms itself
// `period` later when a period is set.
class Alarm : public Zel::Clock::NotifieeConst {
 public:
  Alarm(std::vector<Firing>* log, int id) : log_(log), id_(id) {}
  void onTime() override {
    log_->push_back({id_, timeMin(), Zel::System::currentTime()});
    if (period != 0) timeMinIs(timeMin() + period);
  }
  double period = 0;

 private:
  std::vector<Firing>* log_;
  int id_;
};

class ClockTest : public testing::Test {
 protected:
  void SetUp() override { Zel::traceSinkIs(&sink_); }
  void TearDown() override { Zel::traceSinkIs(nullptr); }

  Ptr<Alarm> alarmAt(double time, int id) {
    Ptr<Alarm> alarm = Zel::allocate<Alarm>(&fired_, id);
    alarm->notifierIs(loop_->clock());
    alarm->timeMinIs(time);
    return alarm;
  }
  std::vector<int> firedIds() const {
    std::vector<int> ids;
    for (Firing const& f : fired_) ids.push_back(f.id);
    return ids;
  }

  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::virtualTime};
  Zel::CapturingTraceSink sink_;
  std::vector<Firing> fired_;
};

TEST_F(ClockTest, ExpiriesRunInTimeOrderEachAtItsOwnTime) {
  // 6 and 7 share a time with 0 and 1: alarms of one time fire in arming order.
  std::vector<Ptr<Alarm>> alarms = {alarmAt(7, 0),   alarmAt(2, 1),  alarmAt(9.5, 2),
                                    alarmAt(0.5, 3), alarmAt(10, 4), alarmAt(10.5, 5),
                                    alarmAt(7, 6),   alarmAt(2, 7)};
  loop_->advance(10);
  EXPECT_EQ(firedIds(), (std::vector<int>{3, 1, 7, 0, 6, 2, 4}));
  for (Firing const& f : fired_) EXPECT_EQ(f.sawTime, f.armedFor) << "alarm " << f.id;
  EXPECT_EQ(Zel::System::currentTime(), 10.0);
  EXPECT_TRUE(alarms[5]->isArmed());

  loop_->advance(1);
  EXPECT_EQ(firedIds().back(), 5);
  EXPECT_EQ(fired_.back().sawTime, 10.5);
  EXPECT_EQ(Zel::System::currentTime(), 11.0);
}

TEST_F(ClockTest, ReArmingReplacesTheEarlierTime) {
  Ptr<Alarm> later = alarmAt(2, 0);
  Ptr<Alarm> sooner = alarmAt(8, 1);
  later->timeMinIs(6);
  sooner->timeMinIs(1);
  loop_->advance(10);
  EXPECT_EQ(firedIds(), (std::vector<int>{1, 0}));
  EXPECT_EQ(fired_[1].sawTime, 6);
}

TEST_F(ClockTest, APastTimeFiresAtOnceWithoutTurningTimeBack) {
  loop_->advance(5);
  Ptr<Alarm> late = alarmAt(2, 0);
  loop_->advance(0);
  ASSERT_EQ(fired_.size(), 1u);
  EXPECT_EQ(fired_[0].sawTime, 5.0);
  EXPECT_EQ(Zel::System::currentTime(), 5.0);
}

// A negative period re-arms into the past: that must not hang the loop. Such an alarm runs once
// per pass, while other alarms keep their own times.
TEST_F(ClockTest, AnAlarmReArmingIntoThePastRunsOncePerPass) {
  Ptr<Alarm> stuck = alarmAt(1.0, 1);
  stuck->period = -0.5;
  Ptr<Alarm> other = alarmAt(2.0, 2);
  loop_->advance(3.0);
  EXPECT_EQ(firedIds(), (std::vector<int>{1, 2}));
  loop_->advance(1.0);
  EXPECT_EQ(firedIds(), (std::vector<int>{1, 2, 1}));
  EXPECT_DOUBLE_EQ(fired_.back().sawTime, 3.0);
  EXPECT_DOUBLE_EQ(Zel::System::currentTime(), 4.0);
}

TEST_F(ClockTest, SilencedDetachedAndDroppedAlarmsDoNotFire) {
  Ptr<Alarm> inactive = alarmAt(1, 0);
  Ptr<Alarm> zombie = alarmAt(2, 1);
  Ptr<Alarm> detached = alarmAt(3, 2);
  Ptr<Alarm> dropped = alarmAt(4, 3);
  Ptr<Alarm> live = alarmAt(5, 4);
  inactive->hasNotificationActiveIs(false);
  zombie->zelDoZombieReactors(true);
  detached->notifierIs(nullptr);
  dropped = nullptr;
  EXPECT_EQ(loop_->clock()->armedCount(), 3u);
  loop_->advance(10);
  EXPECT_EQ(firedIds(), (std::vector<int>{4}));
}

// The timing wheel against the obvious reference, a set ordered by (time, arming order), under
// random arming, re-arming, disarming and advancing, with times on and off the millisecond, on
// slot and level boundaries, already past, far ahead and beyond any tick.
TEST_F(ClockTest, TheWheelFiresInTheOrderOfASortedReference) {
  struct Timer : Zel::TimerWheel::Entry {
    std::pair<double, std::uint64_t> key;  // the reference's, while armed
  };
  std::mt19937_64 random(20261124);
  auto uniform = [&random](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  auto pick = [&random](std::size_t count) { return static_cast<std::size_t>(random() % count); };
  double const infinity = std::numeric_limits<double>::infinity();

  // Each round: how many timers, and whether they stay within a second or so of the present
  // (the wheel's first levels, opened and emptied often) or go anywhere.
  struct Round {
    std::size_t timers;
    bool near;
  };
  Round const rounds[] = {{5, false}, {300, false}, {40, true}, {2000, true}, {300, false}};
  for (int round = 0; round < 5; ++round) {
    bool const near = rounds[round].near;
    std::vector<Timer> timers(rounds[round].timers);
    Zel::TimerWheel wheel;
    std::set<std::pair<double, std::uint64_t>> reference;
    std::uint64_t sequence = 0;
    double now = round == 4 ? -5000.0 : 1000.0 * round;
    auto timeNear = [&]() -> double {
      switch (near ? pick(4) : pick(11)) {
        case 0:
          return now + 0.001 * static_cast<double>(pick(600));
        case 1:
          return now + uniform(0, 0.002);
        case 2:
          return now + uniform(0, 1);
        case 3:
          // On, or just after, the start of one of the next blocks of 256 ticks.
          return std::ldexp(std::floor(now * 1000 / 256) + 1.0 + pick(3), 8) / 1000 +
                 (pick(2) ? 0 : 0.001 * static_cast<double>(pick(3)) + uniform(0, 0.001));
        case 4:
          return now + uniform(0, 1e4);
        case 5:
          return now + std::ldexp(1.0, 16 + static_cast<int>(pick(48))) / 1000;
        case 6:
          return 1e300;
        case 7:
          return now - uniform(0, 3);
        case 8:
          return -infinity;
        case 9:
          return reference.empty() ? now : reference.rbegin()->first;
        default:
          return reference.empty() ? now : reference.begin()->first;
      }
    };
    auto expectSame = [&](char const* after) {
      ASSERT_EQ(wheel.size(), reference.size()) << after;
      double const expected = reference.empty() ? infinity : reference.begin()->first;
      ASSERT_EQ(wheel.nextExpiry(), expected) << after;
    };

    for (int step = 0; step < 6000; ++step) {
      Timer& timer = timers[pick(timers.size())];
      std::size_t const what = pick(10);
      if (what < 6) {
        if (timer.isArmed()) reference.erase(timer.key);
        double const time = timeNear();
        wheel.arm(&timer, time);
        timer.key = {time, sequence++};
        reference.insert(timer.key);
        ASSERT_TRUE(timer.isArmed());
      } else if (what < 8) {
        if (timer.isArmed()) reference.erase(timer.key);
        wheel.disarm(&timer);
        ASSERT_FALSE(timer.isArmed());
      } else if (what == 8) {
        expectSame("peeking");
      } else {
        double const spans[] = {0, 0.0005, 0.001, 0.003, 0.3, 2, 70, 1e5};
        now += spans[pick(near ? 5 : std::size(spans))];
        while (!reference.empty() && reference.begin()->first <= now) {
          Zel::TimerWheel::Entry* first = wheel.earliest();
          ASSERT_NE(first, nullptr);
          Timer* fired = static_cast<Timer*>(first);
          ASSERT_EQ(fired->key, *reference.begin()) << "step " << step;
          reference.erase(reference.begin());
          wheel.disarm(fired);
        }
      }
      expectSame("a step");
    }
    // Whatever the wheel still holds is left disarmed when it goes.
    {
      Zel::TimerWheel doomed;
      for (Timer& timer : timers) {
        if (timer.isArmed()) wheel.disarm(&timer);
        doomed.arm(&timer, timeNear());
      }
    }
    for (Timer const& timer : timers) EXPECT_FALSE(timer.isArmed());
  }
}

}  // namespace

// Turn-end work sees a whole turn: every expiry due at one instant, and what they queued.
TEST_F(ClockTest, TurnEndWorkRunsOnceAfterEveryExpiryOfAnInstant) {
  std::vector<int> log;
  class Toggle : public Zel::Clock::NotifieeConst {
   public:
    Toggle(std::vector<int>* log, int id) : log_(log), id_(id) {}
    void onTime() override {
      Zel::activityManager()->taskIs([this] { log_->push_back(id_); });
      Zel::activityManager()->turnEndTaskIs([this] { log_->push_back(-1); });
    }

   private:
    std::vector<int>* log_;
    int id_;
  };
  std::vector<Ptr<Toggle>> toggles;
  for (int id = 0; id < 4; ++id) {
    toggles.push_back(Zel::allocate<Toggle>(&log, id));
    toggles.back()->notifierIs(loop_->clock());
    toggles.back()->timeMinIs(id < 3 ? 1.0 : 2.0);
  }
  loop_->advance(3);
  EXPECT_EQ(log, (std::vector<int>{0, 1, 2, -1, -1, -1, 3, -1}));

  log.clear();
  loop_->taskIs([&] { loop_->turnEndTaskIs([&] { log.push_back(7); }); });
  EXPECT_EQ(loop_->runPending(), 2u);
  EXPECT_EQ(log, (std::vector<int>{7}));
}
