// Per-type allocation tracking. Every object made by Zel::allocate is counted against its exact
// type, so tests and benchmarks can read how many objects of a type were made, destroyed and are
// still alive, and prove that tearing an agent down leaves nothing behind.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <typeinfo>
#include <vector>

namespace Zel {

class AllocTrackTypeInfo {
 public:
  // The tracker of a type; created on first use and kept for the life of the process.
  static AllocTrackTypeInfo& of(std::type_info const& type);
  template <class T>
  static AllocTrackTypeInfo& of() {
    static AllocTrackTypeInfo& info = of(typeid(T));
    return info;
  }
  // Every tracker made so far, in creation order.
  static std::vector<AllocTrackTypeInfo const*> all();

  void trackAllocation(std::size_t objectSize) noexcept {
    objectSize_ = objectSize;
    ++allocations_;
  }
  void trackDeallocation() noexcept { ++deallocations_; }

  std::string typeName() const;  // demangled
  std::size_t objectSize() const noexcept { return objectSize_; }
  std::uint64_t allocations() const noexcept { return allocations_; }
  std::uint64_t deallocations() const noexcept { return deallocations_; }
  std::int64_t live() const noexcept {
    return static_cast<std::int64_t>(allocations_) - static_cast<std::int64_t>(deallocations_);
  }

 private:
  explicit AllocTrackTypeInfo(std::type_info const& type) : type_(&type) {}

  std::type_info const* type_;
  std::size_t objectSize_ = 0;
  std::uint64_t allocations_ = 0;
  std::uint64_t deallocations_ = 0;
};

// The framework allocator: where counted objects get their memory.
void* allocateBytes(std::size_t size);
void deallocateBytes(void* block) noexcept;

}  // namespace Zel
