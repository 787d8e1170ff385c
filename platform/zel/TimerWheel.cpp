#include "platform/zel/TimerWheel.h"

#include <bit>
#include <cmath>

namespace Zel {

namespace {

constexpr double kTicksPerSecond = 1.0 / TimerWheel::kTickSeconds;
constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63;

}  // namespace

// The tick of a time, as an unsigned number in the same order: times before the epoch and
// -infinity come first, times beyond the range of a 64-bit tick share the last one (they are
// still ordered among themselves in the front).
std::uint64_t TimerWheel::tickOf(double time) noexcept {
  double const tick = std::floor(time * kTicksPerSecond);
  constexpr double kLimit = 9.2e18;  // inside the signed 64-bit range
  if (!(tick > -kLimit)) return 0;
  if (tick >= kLimit) return ~std::uint64_t{0};
  return static_cast<std::uint64_t>(static_cast<std::int64_t>(tick)) ^ kSignBit;
}

TimerWheel::Entry* TimerWheel::cutRun(Entry* run) noexcept {
  Entry* last = run;
  while (last->next_ && !earlier(last->next_, last)) last = last->next_;
  Entry* rest = last->next_;
  last->next_ = nullptr;
  return rest;
}

void TimerWheel::arm(Entry* entry, double time) noexcept {
  if (entry->isArmed()) {
    unlink(entry);
  } else {
    ++size_;
  }
  entry->time_ = time;
  entry->sequence_ = nextSequence_++;
  std::uint64_t const tick = tickOf(time);
  if (tick <= cursor_) {
    insertInFront(entry);
  } else {
    file(entry, tick);
  }
}

void TimerWheel::disarm(Entry* entry) noexcept {
  if (!entry->isArmed()) return;
  unlink(entry);
  entry->where_ = Entry::kNotArmed;
  entry->next_ = entry->prev_ = nullptr;
  --size_;
}

void TimerWheel::clear() noexcept {
  auto release = [](Entry* list) {
    while (list) {
      Entry* next = list->next_;
      list->where_ = Entry::kNotArmed;
      list->next_ = list->prev_ = nullptr;
      list = next;
    }
  };
  release(frontHead_);
  for (Level& level : levels_) {
    for (Entry*& slot : level.slots) {
      release(slot);
      slot = nullptr;
    }
    level.occupied.fill(0);
  }
  occupiedLevels_ = 0;
  frontHead_ = frontTail_ = nullptr;
  size_ = 0;
}

void TimerWheel::file(Entry* entry, std::uint64_t tick) noexcept {
  // The digit in which the tick first differs from the cursor picks the level; the tick is later
  // than the cursor, so its digit there is the greater one and the slot lies ahead.
  int const level = (63 - std::countl_zero(tick ^ cursor_)) / kSlotBits;
  int const slot = static_cast<int>((tick >> (level * kSlotBits)) & (kSlots - 1));
  Level& where = levels_[static_cast<std::size_t>(level)];
  Entry*& head = where.slots[static_cast<std::size_t>(slot)];
  entry->prev_ = nullptr;
  entry->next_ = head;
  if (head) head->prev_ = entry;
  head = entry;
  where.occupied[static_cast<std::size_t>(slot / 64)] |= std::uint64_t{1} << (slot % 64);
  occupiedLevels_ |= static_cast<std::uint8_t>(1u << level);
  entry->where_ = static_cast<std::uint16_t>(level * kSlots + slot);
}

void TimerWheel::insertInFront(Entry* entry) noexcept {
  // A new entry is the last armed, so it goes after every entry of the same time: nearly always
  // at the tail (armed at or after the latest time) or at the head (a time already past).
  Entry* after = frontTail_;
  if (frontHead_ && earlier(entry, frontHead_)) {
    after = nullptr;
  } else {
    while (after && earlier(entry, after)) after = after->prev_;
  }
  entry->prev_ = after;
  entry->next_ = after ? after->next_ : frontHead_;
  if (entry->next_) {
    entry->next_->prev_ = entry;
  } else {
    frontTail_ = entry;
  }
  if (after) {
    after->next_ = entry;
  } else {
    frontHead_ = entry;
  }
  entry->where_ = Entry::kInFront;
}

void TimerWheel::unlink(Entry* entry) noexcept {
  Entry* const prev = entry->prev_;
  Entry* const next = entry->next_;
  if (next) next->prev_ = prev;
  if (entry->where_ == Entry::kInFront) {
    (prev ? prev->next_ : frontHead_) = next;
    if (!next) frontTail_ = prev;
    return;
  }
  if (prev) {
    prev->next_ = next;
    return;
  }
  int const level = entry->where_ / kSlots;
  int const slot = entry->where_ % kSlots;
  Level& where = levels_[static_cast<std::size_t>(level)];
  where.slots[static_cast<std::size_t>(slot)] = next;
  if (next) return;
  where.occupied[static_cast<std::size_t>(slot / 64)] &= ~(std::uint64_t{1} << (slot % 64));
  for (std::uint64_t word : where.occupied) {
    if (word) return;
  }
  occupiedLevels_ &= static_cast<std::uint8_t>(~(1u << level));
}

void TimerWheel::openNext() noexcept {
  for (;;) {
    int const level = std::countr_zero(occupiedLevels_);
    Level& from = levels_[static_cast<std::size_t>(level)];
    int slot = 0;
    std::size_t word = 0;
    while (from.occupied[word] == 0) ++word;
    slot = static_cast<int>(word) * 64 + std::countr_zero(from.occupied[word]);
    Entry* list = from.slots[static_cast<std::size_t>(slot)];
    from.slots[static_cast<std::size_t>(slot)] = nullptr;
    from.occupied[word] &= from.occupied[word] - 1;  // the lowest bit is this slot's
    bool emptied = true;
    for (std::uint64_t bits : from.occupied) emptied = emptied && bits == 0;
    if (emptied) occupiedLevels_ &= static_cast<std::uint8_t>(~(1u << level));

    // Every lower level is empty, so the cursor moves to the first tick of this slot.
    int const shift = level * kSlotBits;
    std::uint64_t const above =
        shift + kSlotBits >= 64 ? 0 : (cursor_ >> (shift + kSlotBits)) << (shift + kSlotBits);
    cursor_ = above | (static_cast<std::uint64_t>(slot) << shift);
    if (level == 0) {
      sortFront(list);
      return;
    }
    // Oldest first, so that each slot they land in (and the front) lists them newest first,
    // as a slot filed directly does: the front then finds them in order.
    Entry* oldestFirst = nullptr;
    while (list) {
      Entry* next = list->next_;
      list->next_ = oldestFirst;
      oldestFirst = list;
      list = next;
    }
    list = oldestFirst;
    Entry* due = nullptr;  // the entries of the cursor's own tick
    while (list) {
      Entry* entry = list;
      list = entry->next_;
      std::uint64_t const tick = tickOf(entry->time_);
      if (tick == cursor_) {
        entry->next_ = due;
        due = entry;
      } else {
        file(entry, tick);
      }
    }
    if (due) {
      sortFront(due);
      return;
    }
  }
}

// Moves a slot's entries into the empty front in (time, arming order) order. A slot lists them
// newest first, and timers re-armed at "now + interval" are armed in time order, so one pass
// that reverses the list nearly always leaves it in order; a natural merge sort orders the rest.
void TimerWheel::sortFront(Entry* list) noexcept {
  Entry* head = nullptr;
  bool ordered = true;
  frontTail_ = list;
  while (list) {
    Entry* next = list->next_;
    list->next_ = head;
    list->where_ = Entry::kInFront;
    if (head) {
      head->prev_ = list;
      ordered = ordered && earlier(list, head);
    }
    head = list;
    list = next;
  }
  frontHead_ = head;
  if (!head) return;
  head->prev_ = nullptr;
  if (ordered) return;

  list = head;
  for (;;) {
    Entry* merged = nullptr;
    Entry** tail = &merged;
    int runs = 0;
    while (list) {
      Entry* a = list;
      list = cutRun(a);
      ++runs;
      Entry* b = list;
      if (b) {
        list = cutRun(b);
        ++runs;
      }
      while (a && b) {
        if (earlier(b, a)) {
          *tail = b;
          b = b->next_;
        } else {
          *tail = a;
          a = a->next_;
        }
        tail = &(*tail)->next_;
      }
      *tail = a ? a : b;
      while (*tail) tail = &(*tail)->next_;
    }
    list = merged;
    if (runs <= 1) break;
  }
  Entry* prev = nullptr;
  for (Entry* entry = list; entry; entry = entry->next_) {
    entry->prev_ = prev;
    prev = entry;
  }
  frontHead_ = list;
  frontTail_ = prev;
}

}  // namespace Zel
