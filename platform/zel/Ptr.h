// Intrusive counted pointer to a PtrInterface-derived object (const or not). The count lives in
// the object, so a Ptr is one machine word and converting a raw pointer back to a Ptr is safe.
#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

#include "platform/zel/PtrInterface.h"

namespace Zel {

template <class T>
class Ptr {
 public:
  using element_type = T;

  Ptr() noexcept = default;
  Ptr(std::nullptr_t) noexcept {}
  Ptr(T* raw) noexcept : raw_(raw) { retain(raw_); }
  Ptr(Ptr const& other) noexcept : raw_(other.raw_) { retain(raw_); }
  Ptr(Ptr&& other) noexcept : raw_(std::exchange(other.raw_, nullptr)) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(Ptr<U> const& other) noexcept : raw_(other.ptr()) {
    retain(raw_);
  }
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(Ptr<U>&& other) noexcept : raw_(other.release()) {}
  ~Ptr() { drop(raw_); }

  // Same value: nothing happens, so assigning a pointer the value it holds never drops what may
  // be the last reference. Otherwise the new reference is taken before the old one is dropped.
  Ptr& operator=(Ptr const& other) noexcept { return assign(other.raw_); }
  Ptr& operator=(T* raw) noexcept { return assign(raw); }
  Ptr& operator=(std::nullptr_t) noexcept { return assign(nullptr); }
  Ptr& operator=(Ptr&& other) noexcept {
    if (this != &other) {
      T* old = std::exchange(raw_, std::exchange(other.raw_, nullptr));
      drop(old);
    }
    return *this;
  }
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr& operator=(Ptr<U> const& other) noexcept {
    return assign(other.ptr());
  }

  T* ptr() const noexcept { return raw_; }
  T* operator->() const noexcept { return raw_; }
  T& operator*() const noexcept { return *raw_; }
  explicit operator bool() const noexcept { return raw_ != nullptr; }

  // Takes over a reference that the caller already owns (such as one handed across a C
  // interface), without adding another.
  static Ptr adopt(T* raw) noexcept {
    Ptr p;
    p.raw_ = raw;
    return p;
  }

  // Gives up ownership of the reference without dropping it.
  T* release() noexcept { return std::exchange(raw_, nullptr); }

  template <class U>
  bool operator==(Ptr<U> const& other) const noexcept {
    return raw_ == other.ptr();
  }
  bool operator==(T const* raw) const noexcept { return raw_ == raw; }
  bool operator==(std::nullptr_t) const noexcept { return raw_ == nullptr; }
  template <class U>
  auto operator<=>(Ptr<U> const& other) const noexcept {
    return std::compare_three_way{}(static_cast<void const*>(raw_),
                                    static_cast<void const*>(other.ptr()));
  }

 private:
  static void retain(T* raw) noexcept {
    if (raw) static_cast<PtrInterface const*>(raw)->newRef();
  }
  static void drop(T* raw) noexcept {
    if (raw) static_cast<PtrInterface const*>(raw)->deleteRef();
  }
  Ptr& assign(T* raw) noexcept {
    if (raw == raw_) return *this;
    retain(raw);
    T* old = raw_;
    raw_ = raw;
    drop(old);
    return *this;
  }

  T* raw_ = nullptr;
};

// Checked down-cast: a null pointer when the object is not a U.
template <class U, class T>
Ptr<U> ptrCast(Ptr<T> const& from) noexcept {
  return Ptr<U>(dynamic_cast<U*>(from.ptr()));
}

// Unchecked cast for the places where the type is known by construction.
template <class U, class T>
Ptr<U> ptrStaticCast(Ptr<T> const& from) noexcept {
  return Ptr<U>(static_cast<U*>(from.ptr()));
}

template <class U, class T>
Ptr<U> ptrConstCast(Ptr<T> const& from) noexcept {
  return Ptr<U>(const_cast<U*>(from.ptr()));
}

}  // namespace Zel

template <class T>
struct std::hash<Zel::Ptr<T>> {
  std::size_t operator()(Zel::Ptr<T> const& p) const noexcept { return std::hash<T*>{}(p.ptr()); }
};
