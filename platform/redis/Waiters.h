// Callbacks waiting for a condition of their owner ("nothing left to read", "rewritten"). Each
// is released as a task of its own on the loop, never from inside the owner's work, so a waiter
// that asks the owner for more finds it in a steady state.
#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "platform/zel/ActivityManager.h"

namespace Statedb::Redis {

class Waiters {
 public:
  explicit Waiters(Zel::ActivityManager& loop) : loop_(loop) {}

  void add(std::function<void()> done) { waiting_.push_back(std::move(done)); }
  bool empty() const noexcept { return waiting_.empty(); }
  // Hands every waiter to the loop; those added meanwhile wait for the next release.
  void release() {
    std::vector<std::function<void()>> waiting;
    waiting.swap(waiting_);
    for (auto& done : waiting) loop_.taskIs(std::move(done));
  }

 private:
  Zel::ActivityManager& loop_;
  std::vector<std::function<void()>> waiting_;
};

}  // namespace Statedb::Redis
