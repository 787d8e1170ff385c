// The header of every counted framework object: one 32-bit word holds the reference count in its
// upper bits and the object's flags in its lower bits, so a counted object costs a vtable pointer
// and one word. When the count drops to zero the object's zero-reference handling runs, which by
// default records the deallocation and destroys the object (objects are made by Zel::allocate).
#pragma once

#include <cstdint>

namespace Zel {

class TypeNode;

// Process-wide switch: when true, reference counts and flags change with atomic read-modify-write
// operations, so pointers may be copied from framework threads; when false (the default, one
// activity thread) with plain ones, which is several times cheaper.
extern bool enableThreadSafePointers;

class PtrInterface {
 public:
  static constexpr std::uint32_t kNotificationActive = 1u << 0;
  static constexpr std::uint32_t kMarkedForDeletion = 1u << 1;
  static constexpr unsigned kFlagBits = 4;
  static constexpr std::uint32_t kFlagMask = (1u << kFlagBits) - 1;
  static constexpr std::uint32_t kOneReference = 1u << kFlagBits;
  static constexpr std::uint32_t kMaxReferences = ~0u >> kFlagBits;

  PtrInterface() noexcept = default;
  PtrInterface(PtrInterface const&) = delete;
  PtrInterface& operator=(PtrInterface const&) = delete;

  // Debug builds stop the process on a count that would overflow or go below zero.
  void newRef() const noexcept;
  void deleteRef() const noexcept;
  std::uint32_t references() const noexcept { return load() >> kFlagBits; }

  bool hasNotificationActive() const noexcept { return load() & kNotificationActive; }
  // Switches delivery of notifications to this object on or off. Classes that own nested
  // reactors override it to pass the value on; the base only records the flag.
  virtual void hasNotificationActiveIs(bool active);

  // The zombie flag: an object marked for deletion reacts to nothing.
  bool isMarkedForDeletion() const noexcept { return load() & kMarkedForDeletion; }
  // Retires this object and, in classes that own reactors, every reactor it owns. Returns at
  // once when the flag already has the requested value. Retirement cannot stop half-way: an
  // exception escaping it ends the process.
  virtual void zelDoZombieReactors(bool zombie) noexcept;

  virtual TypeNode const* fwkType() const;

 protected:
  virtual ~PtrInterface();
  // Runs when the last reference goes; the default destroys the object and records its
  // deallocation with the allocation tracker.
  virtual void onZeroReferences() const;

  void notificationActiveFlagIs(bool active) const noexcept { flagIs(kNotificationActive, active); }
  void markedForDeletionFlagIs(bool zombie) const noexcept { flagIs(kMarkedForDeletion, zombie); }

 private:
  friend struct PtrInterfaceAccess;

  std::uint32_t load() const noexcept;
  void flagIs(std::uint32_t flag, bool on) const noexcept;

  mutable std::uint32_t word_ = 0;
};

// Lets Zel::allocate set the notification flag without exposing it to every caller.
struct PtrInterfaceAccess {
  static void notificationActiveFlagIs(PtrInterface const& object, bool active) noexcept {
    object.notificationActiveFlagIs(active);
  }
};

}  // namespace Zel
