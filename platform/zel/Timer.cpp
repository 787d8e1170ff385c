#include "platform/zel/Timer.h"

#include <utility>

#include "platform/zel/Allocate.h"

namespace Zel {

class Timer::Reactor : public Clock::NotifieeConst {
 public:
  Reactor(ActivityManager& loop, std::function<void()> onTime)
      : NotifieeConst(Ptr<Clock const>(loop.clock())), loop_(&loop), onTime_(std::move(onTime)) {}

  void intervalIs(double interval) noexcept { interval_ = interval; }
  void ownerDel() noexcept { loop_ = nullptr; }

  void onTime() override {
    if (!loop_) return;
    // Re-armed before the run, so that the function may stop or re-arm it and have the last word.
    if (interval_ > 0) {
      timeMinIs(loop_->currentTime() + interval_);
    } else {
      timeMinIs(Clock::kNever);
    }
    // The function stays alive for the call even if the timer is destroyed inside it: the clock
    // holds this reactor until the delivery returns, and ownerDel leaves the function in place.
    onTime_();
  }

 private:
  ActivityManager* loop_;
  std::function<void()> onTime_;
  double interval_ = 0;  // 0: once
};

Timer::Timer(ActivityManager& loop, std::function<void()> onTime)
    : loop_(loop), reactor_(allocate<Reactor>(loop, std::move(onTime))) {}

Timer::~Timer() {
  reactor_->ownerDel();
  reactor_->timeMinIs(Clock::kNever);
  reactor_->notifierIs(nullptr);
}

void Timer::startAt(double time) {
  reactor_->intervalIs(0);
  reactor_->timeMinIs(time);
}

void Timer::startIn(double seconds) {
  startAt(loop_.currentTime() + seconds);
}

void Timer::startRepeating(double interval) {
  reactor_->intervalIs(interval);
  reactor_->timeMinIs(loop_.currentTime() + interval);
}

void Timer::stop() {
  reactor_->intervalIs(0);
  reactor_->timeMinIs(Clock::kNever);
}

bool Timer::isRunning() const noexcept {
  return reactor_->isArmed();
}

double Timer::time() const noexcept {
  return reactor_->isArmed() ? reactor_->timeMin() : Clock::kNever;
}

}  // namespace Zel
