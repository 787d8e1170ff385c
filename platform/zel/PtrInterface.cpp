#include "platform/zel/PtrInterface.h"

#include <atomic>
#include <typeinfo>

#include "platform/zel/AllocTrack.h"
#include "platform/zel/Assert.h"
#include "platform/zel/TypeNode.h"

namespace Zel {

bool enableThreadSafePointers = false;

namespace {
std::atomic_ref<std::uint32_t> atomicWord(std::uint32_t& word) {
  return std::atomic_ref<std::uint32_t>(word);
}
}  // namespace

PtrInterface::~PtrInterface() = default;

std::uint32_t PtrInterface::load() const noexcept {
  if (enableThreadSafePointers) return atomicWord(word_).load(std::memory_order_acquire);
  return word_;
}

// A count that wraps would free a live object (or never free a dead one) far from the fault;
// debug builds stop at the faulty reference instead. The check reads the word the update
// already produced, so it costs a compare.
void PtrInterface::newRef() const noexcept {
  std::uint32_t before;
  if (enableThreadSafePointers) {
    before = atomicWord(word_).fetch_add(kOneReference, std::memory_order_relaxed);
  } else {
    before = word_;
    word_ += kOneReference;
  }
  ZEL_DEBUG_ASSERT((before >> kFlagBits) != kMaxReferences);
  static_cast<void>(before);
}

void PtrInterface::deleteRef() const noexcept {
  std::uint32_t before;
  if (enableThreadSafePointers) {
    before = atomicWord(word_).fetch_sub(kOneReference, std::memory_order_acq_rel);
  } else {
    before = word_;
    word_ -= kOneReference;
  }
  ZEL_DEBUG_ASSERT((before >> kFlagBits) != 0);
  if ((before >> kFlagBits) == 1) onZeroReferences();
}

void PtrInterface::flagIs(std::uint32_t flag, bool on) const noexcept {
  if (enableThreadSafePointers) {
    if (on) {
      atomicWord(word_).fetch_or(flag, std::memory_order_acq_rel);
    } else {
      atomicWord(word_).fetch_and(~flag, std::memory_order_acq_rel);
    }
  } else if (on) {
    word_ |= flag;
  } else {
    word_ &= ~flag;
  }
}

void PtrInterface::hasNotificationActiveIs(bool active) {
  notificationActiveFlagIs(active);
}

void PtrInterface::zelDoZombieReactors(bool zombie) noexcept {
  if (isMarkedForDeletion() == zombie) return;
  markedForDeletionFlagIs(zombie);
}

TypeNode const* PtrInterface::fwkType() const {
  return nullptr;
}

void PtrInterface::onZeroReferences() const {
  // The memory block starts at the most-derived object, which need not be where this base
  // sub-object lives; find it before the destructor runs.
  void const* block = dynamic_cast<void const*>(this);
  AllocTrackTypeInfo& info = AllocTrackTypeInfo::of(typeid(*this));
  this->~PtrInterface();
  deallocateBytes(const_cast<void*>(block));
  info.trackDeallocation();
}

}  // namespace Zel
