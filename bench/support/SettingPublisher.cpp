#include "bench/support/SettingPublisher.h"

#include "platform/zel/ActivityManager.h"

namespace PinlampBench {

SettingPublisher::SettingPublisher(AgentRig& rig, std::size_t count,
                                   Led::LightSetting const& setting, double start, double spread)
    : Zel::Clock::NotifieeConst(rig.loop().clock()),
      rig_(&rig),
      count_(count),
      setting_(setting),
      start_(start),
      spread_(spread) {
  lateness_.reserve(count);
  hasNotificationActiveIs(true);
  timeMinIs(dueTime(0));
}

double SettingPublisher::dueTime(std::size_t index) const {
  return start_ + spread_ * static_cast<double>(index) / static_cast<double>(count_);
}

void SettingPublisher::onTime() {
  // Everything due by now goes out in this wake; the loop delivers it right after.
  double const now = Zel::System::currentTime();
  while (next_ < count_ && dueTime(next_) <= now) {
    lateness_.push_back(now - dueTime(next_));
    rig_->changeSetting(next_++, setting_);
  }
  timeMinIs(done() ? Zel::Clock::kNever : dueTime(next_));
}

}  // namespace PinlampBench
