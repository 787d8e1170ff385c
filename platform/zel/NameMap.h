// Hash map keyed by Zel::Name: the framework's keyed collection.
//
// Members live in a slot array; a key index (open addressing, linear probing) is built only once
// the map outgrows a handful of members, so the many small maps of the model (an LED's pins of
// one colour) cost little memory while large ones (every LED) stay O(1). Removing a member frees
// its slot for reuse but never moves another member, which is what lets a walk go on while
// members are removed under it: the iterator is an index into the slot array and simply skips
// slots that went stale. Members added during a walk may or may not be visited.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "platform/zel/Name.h"

namespace Zel {

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

  class Iterator {
   public:
    Iterator(NameMap const* map, std::uint32_t slot) : map_(map), slot_(slot) { skipStale(); }
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

  std::size_t size() const noexcept { return live_; }
  bool empty() const noexcept { return live_ == 0; }

  V* find(Name const& key) {
    std::uint32_t slot = lookup(key);
    return slot == kNone ? nullptr : &slots_[slot].value;
  }
  V const* find(Name const& key) const { return const_cast<NameMap*>(this)->find(key); }
  bool contains(Name const& key) const { return lookup(key) != kNone; }

  // Stores value under key, replacing any previous value. Returns the previous value (or a
  // default-constructed V) so that callers can tell what was replaced.
  V insert(Name const& key, V value) {
    std::uint32_t slot = lookup(key);
    if (slot != kNone) return std::exchange(slots_[slot].value, std::move(value));
    slot = takeSlot();
    Slot& s = slots_[slot];
    s.key = key;
    s.value = std::move(value);
    s.live = true;
    ++live_;
    indexInsert(key, slot);
    return V{};
  }

  // Removes the member under key and returns its value; a default V when there was none.
  V take(Name const& key) {
    std::uint32_t slot;
    if (index_) {
      // One probe finds both the index entry and the slot.
      std::uint32_t const pos = findIndexPosition(key);
      if (pos == kNone) return V{};
      slot = index_[pos] - 2;
      index_[pos] = kTomb;
      ++tombs_;
    } else {
      slot = lookup(key);
      if (slot == kNone) return V{};
    }
    Slot& s = slots_[slot];
    V value = std::move(s.value);
    s.value = V{};
    s.key = Name();
    s.live = false;
    free_.push_back(slot);
    --live_;
    return value;
  }
  bool erase(Name const& key) {
    if (!contains(key)) return false;
    take(key);
    return true;
  }

  // Empties the map. Slots are kept (and marked stale) so that a walk in progress stays valid.
  void clear() {
    for (std::uint32_t i = 0; i < slots_.size(); ++i) {
      if (slots_[i].live) take(Name(slots_[i].key));
    }
  }

  Iterator begin() const { return Iterator(this, 0); }
  std::default_sentinel_t end() const { return {}; }

 private:
  static constexpr std::uint32_t kNone = ~0u;
  static constexpr std::uint32_t kEmpty = 0;
  static constexpr std::uint32_t kTomb = 1;
  static constexpr std::uint32_t kLinearLimit = 8;

  std::uint32_t lookup(Name const& key) const {
    if (!index_) {
      for (std::uint32_t i = 0; i < slots_.size(); ++i) {
        if (slots_[i].live && slots_[i].key == key) return i;
      }
      return kNone;
    }
    std::uint32_t const pos = findIndexPosition(key);
    return pos == kNone ? kNone : index_[pos] - 2;
  }

  std::uint32_t findIndexPosition(Name const& key) const {
    std::uint32_t mask = indexCapacity_ - 1;
    for (std::uint32_t pos = key.hash() & mask;; pos = (pos + 1) & mask) {
      std::uint32_t entry = index_[pos];
      if (entry == kEmpty) return kNone;
      if (entry != kTomb && slots_[entry - 2].key == key) return pos;
    }
  }

  std::uint32_t takeSlot() {
    if (!free_.empty()) {
      std::uint32_t slot = free_.back();
      free_.pop_back();
      return slot;
    }
    slots_.emplace_back();
    return static_cast<std::uint32_t>(slots_.size() - 1);
  }

  void indexInsert(Name const& key, std::uint32_t slot) {
    if (!index_) {
      if (slots_.size() <= kLinearLimit) return;
      rebuildIndex();
      return;
    }
    if ((live_ + tombs_) * 4 > indexCapacity_ * 3) {
      rebuildIndex();
      return;
    }
    std::uint32_t mask = indexCapacity_ - 1;
    std::uint32_t pos = key.hash() & mask;
    while (index_[pos] != kEmpty && index_[pos] != kTomb) pos = (pos + 1) & mask;
    if (index_[pos] == kTomb) --tombs_;
    index_[pos] = slot + 2;
  }

  void rebuildIndex() {
    std::uint32_t capacity = 16;
    while (capacity < live_ * 2) capacity *= 2;
    index_ = std::make_unique<std::uint32_t[]>(capacity);
    indexCapacity_ = capacity;
    tombs_ = 0;
    std::uint32_t mask = capacity - 1;
    for (std::uint32_t i = 0; i < slots_.size(); ++i) {
      if (!slots_[i].live) continue;
      std::uint32_t pos = slots_[i].key.hash() & mask;
      while (index_[pos] != kEmpty) pos = (pos + 1) & mask;
      index_[pos] = i + 2;
    }
  }

  std::vector<Slot> slots_;
  std::vector<std::uint32_t> free_;
  std::unique_ptr<std::uint32_t[]> index_;
  std::uint32_t indexCapacity_ = 0;
  std::uint32_t live_ = 0;
  std::uint32_t tombs_ = 0;
};

}  // namespace Zel
