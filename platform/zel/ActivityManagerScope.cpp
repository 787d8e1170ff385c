#include "platform/zel/ActivityManagerScope.h"

#include <memory>

namespace Zel {

namespace {

ActivityManagerScope*& topScope() noexcept {
  static ActivityManagerScope* top = nullptr;
  return top;
}

// The loop of a process that installs none; it lives until the process exits.
std::unique_ptr<ActivityManager>& fallbackLoop() noexcept {
  static std::unique_ptr<ActivityManager> loop;
  return loop;
}

}  // namespace

ActivityManagerScope::ActivityManagerScope(ActivityManager::TimeSource source, double startTime)
    : loop_(std::make_unique<ActivityManager>(source, startTime)), below_(topScope()) {
  topScope() = this;
}

ActivityManagerScope::~ActivityManagerScope() {
  // Uninstalled before the loop dies, so that entities released with its queue notify a loop
  // that still exists.
  ActivityManagerScope** link = &topScope();
  while (*link && *link != this) link = &(*link)->below_;
  if (*link) *link = below_;
}

ActivityManager* installedActivityManager() noexcept {
  if (ActivityManagerScope* top = topScope()) return top->loop_.get();
  return fallbackLoop().get();
}

ActivityManager* activityManager() {
  if (ActivityManager* installed = installedActivityManager()) return installed;
  fallbackLoop() = std::make_unique<ActivityManager>(ActivityManager::TimeSource::monotonic);
  return fallbackLoop().get();
}

double System::currentTime() noexcept {
  if (ActivityManager const* loop = installedActivityManager()) return loop->currentTime();
  return monotonicTime();
}

}  // namespace Zel
