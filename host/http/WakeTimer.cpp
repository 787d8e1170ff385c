#include "host/http/WakeTimer.h"

#include <utility>

#include "platform/zel/Allocate.h"

namespace Http {

class WakeTimer::Reactor : public Zel::Clock::NotifieeConst {
 public:
  Reactor(WakeTimer* owner, std::function<void()> onTime)
      : owner_(owner), onTime_(std::move(onTime)) {}
  void onTime() override {
    if (!owner_) return;
    owner_->set_ = false;
    timeMinIs(Zel::Clock::kNever);
    onTime_();
  }
  void ownerDel() noexcept { owner_ = nullptr; }

 private:
  WakeTimer* owner_;
  std::function<void()> onTime_;
};

WakeTimer::WakeTimer(Zel::ActivityManager& loop, std::function<void()> onTime)
    : reactor_(Zel::allocate<Reactor>(this, std::move(onTime))) {
  reactor_->notifierIs(loop.clock());
}

WakeTimer::~WakeTimer() {
  reactor_->ownerDel();
  reactor_->notifierIs(nullptr);
}

void WakeTimer::wakeAt(double time) {
  set_ = true;
  reactor_->timeMinIs(time);
}

void WakeTimer::cancel() {
  set_ = false;
  reactor_->timeMinIs(Zel::Clock::kNever);
}

}  // namespace Http
