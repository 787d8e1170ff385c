// Which activity loop is the process's. A scope makes a loop and installs it for its own life;
// when the scope ends, its loop goes with it and the loop installed before it is the process's
// again. Scopes nest (a test's loop over a host's): each remembers the one below it, and one
// that ends out of turn only unlinks itself, so no loop is ever freed while a scope holds it.
#pragma once

#include <memory>

#include "platform/zel/ActivityManager.h"

namespace Zel {

class ActivityManagerScope {
 public:
  explicit ActivityManagerScope(ActivityManager::TimeSource source, double startTime = 0.0);
  ~ActivityManagerScope();
  ActivityManagerScope(ActivityManagerScope const&) = delete;
  ActivityManagerScope& operator=(ActivityManagerScope const&) = delete;

  // Like an owning pointer, a scope hands out its loop for use even when it is itself const.
  ActivityManager& loop() const noexcept { return *loop_; }
  ActivityManager* operator->() const noexcept { return loop_.get(); }
  ActivityManager& operator*() const noexcept { return *loop_; }

 private:
  friend ActivityManager* installedActivityManager() noexcept;

  std::unique_ptr<ActivityManager> const loop_;
  ActivityManagerScope* below_;
};

}  // namespace Zel
