#include "bench/support/ReferenceTimerHeap.h"

namespace PinlampBench {

void ReferenceTimerHeap::arm(Entry* entry, double time) {
  entry->time = time;
  entry->sequence = nextSequence_++;
  if (!entry->isArmed()) {
    heap_.push_back(entry);
    entry->index = static_cast<std::uint32_t>(heap_.size() - 1);
    siftUp(entry->index);
    return;
  }
  siftUp(entry->index);
  siftDown(entry->index);
}

void ReferenceTimerHeap::disarm(Entry* entry) noexcept {
  std::uint32_t const index = entry->index;
  if (index == kNotArmed) return;
  entry->index = kNotArmed;
  Entry* last = heap_.back();
  heap_.pop_back();
  if (last == entry) return;
  place(index, last);
  siftUp(index);
  siftDown(last->index);
}

void ReferenceTimerHeap::siftUp(std::uint32_t index) noexcept {
  Entry* moving = heap_[index];
  while (index > 0) {
    std::uint32_t const parent = (index - 1) / 2;
    if (!earlier(moving, heap_[parent])) break;
    place(index, heap_[parent]);
    index = parent;
  }
  place(index, moving);
}

void ReferenceTimerHeap::siftDown(std::uint32_t index) noexcept {
  Entry* moving = heap_[index];
  auto const size = static_cast<std::uint32_t>(heap_.size());
  for (;;) {
    std::uint32_t child = 2 * index + 1;
    if (child >= size) break;
    if (child + 1 < size && earlier(heap_[child + 1], heap_[child])) ++child;
    if (!earlier(heap_[child], moving)) break;
    place(index, heap_[child]);
    index = child;
  }
  place(index, moving);
}

}  // namespace PinlampBench
