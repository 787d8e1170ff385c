#include "host/http/LatenessProbe.h"

#include <algorithm>

namespace Http {

LatenessProbe::LatenessProbe(Zel::ActivityManager& loop, double interval)
    : loop_(loop), interval_(interval), timer_(loop, [this] { onTime(); }) {
  due_ = loop_.currentTime() + interval_;
  timer_.startAt(due_);
}

void LatenessProbe::record(double lateness) {
  lateness = std::max(lateness, 0.0);
  std::size_t const bucket = static_cast<std::size_t>(
      std::lower_bound(kBounds.begin(), kBounds.end(), lateness) - kBounds.begin());
  ++buckets_[bucket];
  ++count_;
  sum_ += lateness;
}

std::array<std::uint64_t, LatenessProbe::kBounds.size()> LatenessProbe::cumulative() const {
  std::array<std::uint64_t, kBounds.size()> counts{};
  std::uint64_t running = 0;
  for (std::size_t i = 0; i < kBounds.size(); ++i) {
    running += buckets_[i];
    counts[i] = running;
  }
  return counts;
}

void LatenessProbe::onTime() {
  double const now = loop_.currentTime();
  record(now - due_);
  // The next wake keeps the interval from now, so one stall is counted once, not as a burst.
  due_ = now + interval_;
  timer_.startAt(due_);
}

}  // namespace Http
