// Zel::TimerWheel: the armed timers of one clock, in a hierarchical timing wheel of 1 ms ticks.
// A timer is filed by its tick, relative to a cursor: in the first level when it falls in the
// cursor's 256-tick window, otherwise in the level whose digit (8 bits of the tick) is the
// highest one in which it differs from the cursor. Arming and disarming link or unlink an entry
// (no allocation: the links live in the entry); moving the cursor on cascades the next occupied
// slot one level down, so each timer moves at most once per level. The entries of the cursor's
// own tick, and any armed for a tick already reached, wait in a front list kept in exact
// (time, arming order) order, which is the order in which they fire: the wheel orders ticks,
// the front orders the times inside one.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace Zel {

class TimerWheel {
 public:
  static constexpr double kTickSeconds = 0.001;

  // One timer: embedded in (or a base of) whatever the wheel wakes.
  class Entry {
   public:
    bool isArmed() const noexcept { return where_ != kNotArmed; }
    double armedTime() const noexcept { return time_; }

   protected:
    Entry() = default;
    ~Entry() = default;
    Entry(Entry const&) = delete;
    Entry& operator=(Entry const&) = delete;

   private:
    friend class TimerWheel;
    static constexpr std::uint16_t kNotArmed = 0xffff;
    static constexpr std::uint16_t kInFront = 0xfffe;
    double time_ = 0;
    std::uint64_t sequence_ = 0;  // orders entries armed for the same time
    Entry* next_ = nullptr;
    Entry* prev_ = nullptr;
    std::uint16_t where_ = kNotArmed;  // level * 256 + slot, or one of the marks above
  };

  TimerWheel() = default;
  // Armed entries are left disarmed: the wheel never reaches them again.
  ~TimerWheel() { clear(); }
  TimerWheel(TimerWheel const&) = delete;
  TimerWheel& operator=(TimerWheel const&) = delete;

  // Arms `entry` for `time` (finite or -infinity, never NaN or +infinity), replacing any earlier
  // time; it fires after every entry armed before it for the same time.
  void arm(Entry* entry, double time) noexcept;
  void disarm(Entry* entry) noexcept;
  // Disarms every entry.
  void clear() noexcept;

  std::size_t size() const noexcept { return size_; }
  // The entry that fires next, null when none is armed. Finding it may cascade the wheel, which
  // changes nothing any caller can see.
  Entry* earliest() noexcept {
    if (!frontHead_ && size_ != 0) openNext();
    return frontHead_;
  }
  double nextExpiry() noexcept {
    Entry const* first = earliest();
    return first ? first->time_ : std::numeric_limits<double>::infinity();
  }

 private:
  static constexpr int kLevels = 8;  // 8 digits of 8 bits: every 64-bit tick has a place
  static constexpr int kSlotBits = 8;
  static constexpr int kSlots = 1 << kSlotBits;
  static constexpr int kWords = kSlots / 64;

  struct Level {
    std::array<std::uint64_t, kWords> occupied{};
    std::array<Entry*, kSlots> slots{};
  };

  static std::uint64_t tickOf(double time) noexcept;
  static bool earlier(Entry const* a, Entry const* b) noexcept {
    return a->time_ < b->time_ || (a->time_ == b->time_ && a->sequence_ < b->sequence_);
  }
  void file(Entry* entry, std::uint64_t tick) noexcept;
  void insertInFront(Entry* entry) noexcept;
  void unlink(Entry* entry) noexcept;
  void openNext() noexcept;
  void sortFront(Entry* list) noexcept;
  // Cuts the ascending run that starts at `run` off the rest of its list; returns the rest.
  static Entry* cutRun(Entry* run) noexcept;

  std::array<Level, kLevels> levels_{};
  std::uint8_t occupiedLevels_ = 0;  // bit l: level l holds an entry
  std::uint64_t cursor_ = 0;         // every tick up to here is in the front, none after it
  Entry* frontHead_ = nullptr;
  Entry* frontTail_ = nullptr;
  std::size_t size_ = 0;
  std::uint64_t nextSequence_ = 0;
};

}  // namespace Zel
