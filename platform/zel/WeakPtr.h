// Zel::WeakPtr and Zel::WeakPtrFactory: a reference to an owner that queued work checks before
// it touches the owner. Loop work (a turn-end latch, a completion, a redraw) may outlive the
// object that queued it; the owner keeps a factory as its last member, hands out weak pointers,
// and every one of them reads null once the owner is gone.
//
//   Zel::WeakPtrFactory<Driver> weak_{this};   // last member: invalidated first
//   loop.taskIs([self = weak_.weakPtr()] { if (self) self->latch(); });
//
// One thread only: the flag is a plain counted cell, not an atomic.
#pragma once

#include <memory>

namespace Zel {

template <class T>
class WeakPtrFactory;

template <class T>
class WeakPtr {
 public:
  WeakPtr() = default;

  T* get() const noexcept { return flag_ && *flag_ ? object_ : nullptr; }
  explicit operator bool() const noexcept { return get() != nullptr; }
  T* operator->() const noexcept { return get(); }
  T& operator*() const noexcept { return *get(); }

 private:
  friend class WeakPtrFactory<T>;
  WeakPtr(std::shared_ptr<bool const> flag, T* object) : flag_(std::move(flag)), object_(object) {}

  std::shared_ptr<bool const> flag_;
  T* object_ = nullptr;
};

template <class T>
class WeakPtrFactory {
 public:
  explicit WeakPtrFactory(T* owner) : owner_(owner) {}
  ~WeakPtrFactory() { invalidateAll(); }
  WeakPtrFactory(WeakPtrFactory const&) = delete;
  WeakPtrFactory& operator=(WeakPtrFactory const&) = delete;

  WeakPtr<T> weakPtr() {
    if (!flag_) flag_ = std::make_shared<bool>(true);
    return WeakPtr<T>(flag_, owner_);
  }
  // Every weak pointer handed out so far reads null from now on; later ones are valid again.
  void invalidateAll() noexcept {
    if (flag_) *flag_ = false;
    flag_.reset();
  }
  bool hasWeakPtrs() const noexcept { return flag_ && flag_.use_count() > 1; }

 private:
  T* owner_;
  std::shared_ptr<bool> flag_;
};

}  // namespace Zel
