// The binary min-heap that kept the clock's armed timers before the timing wheel, kept only as
// the benchmarks' reference: the same order (time, then arming order), O(log n) per change.
#pragma once

#include <cstdint>
#include <vector>

namespace PinlampBench {

class ReferenceTimerHeap {
 public:
  struct Entry {
    bool isArmed() const noexcept { return index != kNotArmed; }
    double time = 0;
    std::uint64_t sequence = 0;
    std::uint32_t index = kNotArmed;
  };
  static constexpr std::uint32_t kNotArmed = ~0u;

  void arm(Entry* entry, double time);
  void disarm(Entry* entry) noexcept;
  Entry* earliest() const noexcept { return heap_.empty() ? nullptr : heap_.front(); }
  std::size_t size() const noexcept { return heap_.size(); }

 private:
  static bool earlier(Entry const* a, Entry const* b) noexcept {
    return a->time < b->time || (a->time == b->time && a->sequence < b->sequence);
  }
  void place(std::uint32_t index, Entry* entry) noexcept {
    heap_[index] = entry;
    entry->index = index;
  }
  void siftUp(std::uint32_t index) noexcept;
  void siftDown(std::uint32_t index) noexcept;

  std::vector<Entry*> heap_;
  std::uint64_t nextSequence_ = 0;
};

}  // namespace PinlampBench
