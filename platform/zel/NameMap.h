// Hash map keyed by Zel::Name: the framework's keyed collection.
//
// Members live in a slot array; a key index (open addressing, linear probing) is built only once
// the map outgrows a handful of members, so the many small maps of the model (an LED's pins of
// one colour) cost little memory while large ones (every LED) stay O(1).
//
// A large map does not fit in the caches, so a look-up costs its cache misses. Each index entry
// carries 32 bits of its key's mixed hash beside the slot number: a probe passes over entries of
// other keys without touching their slots or key text, and growing the index moves entries
// without touching the members. A look-up reads one index line, then the one slot and key that
// match.
//
// Walks. An iterator is an index into the slot array, so what a walk sees depends only on
// whether members move between slots:
// - take, erase and clear never move a member: a walk goes on past members removed under it,
//   skipping their stale slots, and visits every other member once;
// - insert never moves a member either; a member added during a walk may or may not be visited;
// - only giving back slot space moves members, and the map does that only while no iterator
//   exists (it waits for the next removal after the last walk ends);
// - destroying the map ends every walk, which must not go on.
// So an iterator kept alive keeps a shrunken map at its largest size; walk, then let go.
#pragma once

#include <atomic>
#include <cstdint>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "platform/zel/Assert.h"
#include "platform/zel/Name.h"

namespace Zel {

namespace detail {
// Key indexes built (made, grown, or cleared of tombstones) by every map of the process: growth
// must keep this logarithmic in the members, and tests count it rather than time it. Counted for
// all maps at once so that the many small maps pay nothing for it.
inline std::atomic<std::uint64_t> nameMapIndexBuilds{0};
}  // namespace detail

template <class V>
class NameMap {
  struct Slot {
    Name key;
    V value{};
    bool live = false;
  };

 public:
  struct Member {
    Name key;
    V value;
  };

  // While any iterator exists the map keeps every member in its slot (see the walk rules above).
  class Iterator {
   public:
    Iterator(NameMap const* map, std::uint32_t slot) : map_(map), slot_(slot) {
      ++map_->walks_;
      skipStale();
    }
    Iterator(Iterator const& other) : map_(other.map_), slot_(other.slot_) { ++map_->walks_; }
    Iterator& operator=(Iterator const& other) {
      ++other.map_->walks_;
      --map_->walks_;
      map_ = other.map_;
      slot_ = other.slot_;
      return *this;
    }
    ~Iterator() { --map_->walks_; }

    Member operator*() const {
      Slot const& s = map_->slots_[slot_];
      return Member{s.key, s.value};
    }
    Name const& key() const { return map_->slots_[slot_].key; }
    V const& value() const { return map_->slots_[slot_].value; }
    Iterator& operator++() {
      ++slot_;
      skipStale();
      return *this;
    }
    bool atEnd() const { return slot_ >= map_->slots_.size(); }
    friend bool operator==(Iterator const& it, std::default_sentinel_t) { return it.atEnd(); }

   private:
    void skipStale() {
      while (slot_ < map_->slots_.size() && !map_->slots_[slot_].live) ++slot_;
    }
    NameMap const* map_;
    std::uint32_t slot_;
  };

  NameMap() = default;
  NameMap(NameMap const&) = delete;
  NameMap& operator=(NameMap const&) = delete;
  ~NameMap() { ZEL_DEBUG_ASSERT(walks_ == 0); }

  std::size_t size() const noexcept { return live_; }
  bool empty() const noexcept { return live_ == 0; }
  // Slots held, live or free: what the map costs, as opposed to what it holds.
  std::size_t slotCount() const noexcept { return slots_.size(); }
  static std::uint64_t indexBuildsInProcess() noexcept {
    return detail::nameMapIndexBuilds.load(std::memory_order_relaxed);
  }

  V* find(Name const& key) {
    std::uint32_t slot = lookup(key);
    return slot == kNone ? nullptr : &slots_[slot].value;
  }
  V const* find(Name const& key) const { return const_cast<NameMap*>(this)->find(key); }
  bool contains(Name const& key) const { return lookup(key) != kNone; }

  // Stores value under key, replacing any previous value. Returns the previous value (or a
  // default-constructed V) so that callers can tell what was replaced.
  V insert(Name const& key, V value) {
    if (!index_) {
      std::uint32_t const slot = lookup(key);
      if (slot != kNone) return std::exchange(slots_[slot].value, std::move(value));
      fillSlot(key, std::move(value));
      if (slots_.size() > kLinearLimit) rebuildIndex(indexCapacityFor(live_));
      checkCounts();
      return V{};
    }
    // One probe finds the key or the position where it goes.
    std::uint32_t const tag = tagOf(key);
    Probe probe = probeFor(key, tag);
    if (probe.match != kNone) {
      return std::exchange(slots_[slotOf(index_[probe.match])].value, std::move(value));
    }
    if ((live_ + 1 + tombs_) * 4 > indexCapacity_ * 3) {
      // Grown, or cleared of tombstones, before the new member goes in.
      rebuildIndex(indexCapacityFor(live_ + 1));
      probe = probeFor(key, tag);
    }
    std::uint32_t const slot = fillSlot(key, std::move(value));
    if (index_[probe.free] == kTomb) --tombs_;
    index_[probe.free] = entryOf(slot, tag);
    checkCounts();
    return V{};
  }

  // Removes the member under key and returns its value; a default V when there was none.
  V take(Name const& key) {
    std::uint32_t slot;
    if (index_) {
      // One probe finds both the index entry and the slot.
      std::uint32_t const pos = findIndexPosition(key);
      if (pos == kNone) return V{};
      slot = slotOf(index_[pos]);
      // A tombstone only keeps probes going; before an empty position none would go on.
      if (index_[(pos + 1) & (indexCapacity_ - 1)] == kEmpty) {
        index_[pos] = kEmpty;
      } else {
        index_[pos] = kTomb;
        ++tombs_;
      }
    } else {
      slot = lookup(key);
      if (slot == kNone) return V{};
    }
    V value = release(slot);
    shrinkIfSparse();
    return value;
  }
  bool erase(Name const& key) {
    if (!contains(key)) return false;
    take(key);
    return true;
  }

  // Empties the map. A walk in progress stays valid and simply finds nothing more.
  void clear() {
    {
      // Dropping a value may re-enter the map; no member moves until every slot is released.
      Iterator const hold(this, static_cast<std::uint32_t>(slots_.size()));
      for (std::uint32_t i = 0; i < slots_.size(); ++i) {
        if (slots_[i].live) take(Name(slots_[i].key));
      }
    }
    shrinkIfSparse();
  }

  Iterator begin() const { return Iterator(this, 0); }
  std::default_sentinel_t end() const { return {}; }

 private:
  // Index entries: 0 and 1 mark an empty position and a removed key's tombstone (which keeps a
  // probe sequence going); any other entry holds, in its low half, kFirstSlotEntry plus the slot
  // of its member and, in its high half, that member's tag (the top 32 bits of its mixed hash).
  using Entry = std::uint64_t;
  static constexpr Entry kEmpty = 0;
  static constexpr Entry kTomb = 1;
  static constexpr std::uint32_t kFirstSlotEntry = 2;
  static constexpr std::uint32_t kNone = ~0u;
  // Up to this many slots a scan beats hashing, and no index is kept.
  static constexpr std::uint32_t kLinearLimit = 8;
  static constexpr std::uint32_t kMinIndexCapacity = 16;
  // Slot space is given back once at most a quarter of it is live: after compaction the map
  // must lose three quarters of its members before it compacts again, so a map that hovers
  // around one size never pays for it twice in a row.
  static constexpr std::uint32_t kShrinkFactor = 4;

  // Where a key is in the index (match), or else the first position where it may go (free).
  struct Probe {
    std::uint32_t match = kNone;
    std::uint32_t free = kNone;
  };

  // Names hash with FNV-1a, whose low bits mix poorly; multiplying by the golden ratio spreads
  // every bit of the hash into the top ones, which both place and tag the key.
  static std::uint32_t tagOf(Name const& key) noexcept {
    return static_cast<std::uint32_t>(
        (static_cast<std::uint64_t>(key.hash()) * 0x9e3779b97f4a7c15ull) >> 32);
  }
  static Entry entryOf(std::uint32_t slot, std::uint32_t tag) noexcept {
    return (static_cast<Entry>(tag) << 32) | (slot + kFirstSlotEntry);
  }
  static std::uint32_t slotOf(Entry entry) noexcept {
    ZEL_DEBUG_ASSERT(entry >= kFirstSlotEntry);
    return static_cast<std::uint32_t>(entry) - kFirstSlotEntry;
  }
  static std::uint32_t tagOfEntry(Entry entry) noexcept {
    return static_cast<std::uint32_t>(entry >> 32);
  }
  // The home position of a tag in an index of `capacity` (a power of two, at least 16) entries.
  static std::uint32_t homeOf(std::uint32_t tag, std::uint32_t capacity) noexcept {
    return static_cast<std::uint32_t>((static_cast<std::uint64_t>(tag) * capacity) >> 32);
  }
  static std::uint32_t indexCapacityFor(std::uint32_t members) noexcept {
    std::uint32_t capacity = kMinIndexCapacity;
    while (capacity < members * 2) capacity *= 2;
    return capacity;
  }

  std::uint32_t lookup(Name const& key) const {
    if (!index_) {
      for (std::uint32_t i = 0; i < slots_.size(); ++i) {
        if (slots_[i].live && slots_[i].key == key) return i;
      }
      return kNone;
    }
    std::uint32_t const pos = findIndexPosition(key);
    return pos == kNone ? kNone : slotOf(index_[pos]);
  }

  std::uint32_t findIndexPosition(Name const& key) const { return probeFor(key, tagOf(key)).match; }

  Probe probeFor(Name const& key, std::uint32_t tag) const {
    Probe probe;
    std::uint32_t const mask = indexCapacity_ - 1;
    for (std::uint32_t pos = homeOf(tag, indexCapacity_);; pos = (pos + 1) & mask) {
      Entry const entry = index_[pos];
      if (entry == kEmpty) {
        if (probe.free == kNone) probe.free = pos;
        return probe;
      }
      if (entry == kTomb) {
        if (probe.free == kNone) probe.free = pos;
        continue;
      }
      if (tagOfEntry(entry) == tag && slots_[slotOf(entry)].key == key) {
        probe.match = pos;
        return probe;
      }
    }
  }

  // Stores a new member in a free slot; the key index is the caller's.
  std::uint32_t fillSlot(Name const& key, V value) {
    std::uint32_t const slot = takeSlot();
    Slot& s = slots_[slot];
    s.key = key;
    s.value = std::move(value);
    s.live = true;
    ++live_;
    return slot;
  }

  std::uint32_t takeSlot() {
    if (!free_.empty()) {
      std::uint32_t slot = free_.back();
      free_.pop_back();
      ZEL_DEBUG_ASSERT(!slots_[slot].live);
      return slot;
    }
    slots_.emplace_back();
    return static_cast<std::uint32_t>(slots_.size() - 1);
  }

  // Marks the slot free and hands back its value; the key index is the caller's.
  V release(std::uint32_t slot) {
    Slot& s = slots_[slot];
    ZEL_DEBUG_ASSERT(s.live);
    V value = std::move(s.value);
    s.value = V{};
    s.key = Name();
    s.live = false;
    free_.push_back(slot);
    --live_;
    checkCounts();
    return value;
  }

  // A fresh index of `capacity` entries over the live members: from the old index when there is
  // one, whose entries carry all that placing them needs, so the members are not touched; from
  // the slots otherwise.
  void rebuildIndex(std::uint32_t capacity) {
    auto fresh = std::make_unique<Entry[]>(capacity);
    std::uint32_t const mask = capacity - 1;
    auto place = [&fresh, capacity, mask](Entry entry) {
      std::uint32_t pos = homeOf(tagOfEntry(entry), capacity);
      while (fresh[pos] != kEmpty) pos = (pos + 1) & mask;
      fresh[pos] = entry;
    };
    if (index_) {
      for (std::uint32_t pos = 0; pos < indexCapacity_; ++pos) {
        if (index_[pos] >= kFirstSlotEntry) place(index_[pos]);
      }
    } else {
      for (std::uint32_t i = 0; i < slots_.size(); ++i) {
        if (slots_[i].live) place(entryOf(i, tagOf(slots_[i].key)));
      }
    }
    index_ = std::move(fresh);
    indexCapacity_ = capacity;
    tombs_ = 0;
    detail::nameMapIndexBuilds.fetch_add(1, std::memory_order_relaxed);
    checkStructure();
  }

  // Moves the live members to the front of fresh, tight storage, rebuilding (or dropping) the
  // key index to match. Runs in time proportional to the slots, paid for by the removals that
  // emptied them.
  void shrinkIfSparse() {
    if (walks_ != 0 || slots_.size() <= kLinearLimit) return;
    if (live_ * kShrinkFactor > slots_.size()) return;
    std::vector<Slot> kept;
    kept.reserve(live_);
    for (Slot& s : slots_) {
      if (s.live) kept.push_back(std::move(s));
    }
    slots_.swap(kept);
    std::vector<std::uint32_t>().swap(free_);
    if (slots_.size() <= kLinearLimit) {
      index_.reset();
      indexCapacity_ = 0;
      tombs_ = 0;
      checkStructure();
    } else {
      // The members moved: the old index names slots that no longer hold them.
      index_.reset();
      rebuildIndex(indexCapacityFor(live_));
    }
  }

  // O(1) bookkeeping that every mutation keeps.
  void checkCounts() const noexcept {
    ZEL_DEBUG_ASSERT(live_ + free_.size() == slots_.size());
    ZEL_DEBUG_ASSERT(!index_ || live_ + tombs_ < indexCapacity_);
    ZEL_DEBUG_ASSERT(index_ || slots_.size() <= kLinearLimit);
  }

  // The full picture, checked only where the map already does work proportional to its size.
  void checkStructure() const {
#ifndef NDEBUG
    checkCounts();
    std::uint32_t live = 0;
    for (Slot const& s : slots_) live += s.live ? 1 : 0;
    ZEL_DEBUG_ASSERT(live == live_);
    if (!index_) return;
    std::uint32_t members = 0;
    std::uint32_t tombs = 0;
    for (std::uint32_t pos = 0; pos < indexCapacity_; ++pos) {
      Entry const entry = index_[pos];
      if (entry == kTomb) ++tombs;
      if (entry < kFirstSlotEntry) continue;
      ++members;
      ZEL_DEBUG_ASSERT(slots_[slotOf(entry)].live);
      ZEL_DEBUG_ASSERT(tagOfEntry(entry) == tagOf(slots_[slotOf(entry)].key));
      ZEL_DEBUG_ASSERT(findIndexPosition(slots_[slotOf(entry)].key) == pos);
    }
    ZEL_DEBUG_ASSERT(members == live_);
    ZEL_DEBUG_ASSERT(tombs == tombs_);
#endif
  }

  std::vector<Slot> slots_;
  std::vector<std::uint32_t> free_;
  std::unique_ptr<Entry[]> index_;
  std::uint32_t indexCapacity_ = 0;
  std::uint32_t live_ = 0;
  std::uint32_t tombs_ = 0;
  mutable std::uint32_t walks_ = 0;  // iterators alive: members must stay in their slots
};

}  // namespace Zel
