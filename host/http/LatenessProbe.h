// How late the activity loop runs its expiries: a probe wakes at a fixed interval and records how
// long after its due time it ran, in the buckets of a histogram. The probe is one timer among the
// agent's, so it is late exactly when theirs are.
#pragma once

#include <array>
#include <cstdint>

#include "platform/zel/Timer.h"

namespace Http {

class LatenessProbe {
 public:
  // Upper bounds, seconds; the last bucket (+Inf) is implied.
  static constexpr std::array<double, 8> kBounds = {0.0005, 0.001, 0.002, 0.005,
                                                    0.01,   0.025, 0.1,   1.0};

  LatenessProbe(Zel::ActivityManager& loop, double interval);

  void record(double lateness);
  // Cumulative counts per bound, as the text format wants them.
  std::array<std::uint64_t, kBounds.size()> cumulative() const;
  std::uint64_t count() const noexcept { return count_; }
  double sum() const noexcept { return sum_; }

 private:
  void onTime();

  Zel::ActivityManager& loop_;
  double interval_;
  double due_ = 0;
  std::array<std::uint64_t, kBounds.size() + 1> buckets_{};
  std::uint64_t count_ = 0;
  double sum_ = 0;
  Zel::Timer timer_;
};

}  // namespace Http
