// A one-shot wake-up on the activity loop's clock that runs a function: back-off, keep-alive
// and time-outs of the database connection. Virtual time moves it in tests like any reactor.
#pragma once

#include <functional>
#include <utility>

#include "platform/zel/ActivityManager.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Clock.h"

namespace Statedb::Redis {

class LoopTimer {
 public:
  LoopTimer(Zel::ActivityManager& loop, std::function<void()> onTime)
      : loop_(loop), reactor_(Zel::allocate<Reactor>(loop.clock(), std::move(onTime))) {}
  ~LoopTimer() {
    reactor_->timeMinIs(Zel::Clock::kNever);
    reactor_->notifierIs(nullptr);
  }
  LoopTimer(LoopTimer const&) = delete;
  LoopTimer& operator=(LoopTimer const&) = delete;

  void armIn(double seconds) { reactor_->timeMinIs(loop_.currentTime() + seconds); }
  void disarm() { reactor_->timeMinIs(Zel::Clock::kNever); }
  bool isArmed() const noexcept { return reactor_->isArmed(); }

 private:
  class Reactor : public Zel::Clock::NotifieeConst {
   public:
    Reactor(Zel::Ptr<Zel::Clock> const& clock, std::function<void()> onTime)
        : Zel::Clock::NotifieeConst(Zel::Ptr<Zel::Clock const>(clock)),
          onTime_(std::move(onTime)) {}
    void onTime() override {
      timeMinIs(Zel::Clock::kNever);
      onTime_();
    }

   private:
    std::function<void()> onTime_;
  };

  Zel::ActivityManager& loop_;
  Zel::Ptr<Reactor> reactor_;
};

}  // namespace Statedb::Redis
