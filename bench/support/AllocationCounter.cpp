#include "bench/support/AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace PinlampBench {
namespace {
// Relaxed: the count is read by the thread that runs the loop, after the stretch it measures.
std::atomic<std::uint64_t> allocations{0};

void* allocateCounted(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* block = std::malloc(size == 0 ? 1 : size)) return block;
  throw std::bad_alloc();
}
}  // namespace

std::uint64_t allocationCount() noexcept {
  return allocations.load(std::memory_order_relaxed);
}

}  // namespace PinlampBench

// The array forms and the nothrow delete fall back on these; the sized delete is its own, since
// a program that replaces one of the pair must replace both.
void* operator new(std::size_t size) {
  return PinlampBench::allocateCounted(size);
}

void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
  try {
    return PinlampBench::allocateCounted(size);
  } catch (...) {
    return nullptr;
  }
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
