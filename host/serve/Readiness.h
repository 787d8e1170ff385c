// When a service is ready: once every condition it waits for has been met. The serve run
// waits for the agent's mounts; a database that resynchronises or pins that are requested add a
// condition of their own and meet it when done. Ready is announced once, at the moment the last
// condition is met (at once if none is pending when the waiting starts).
#pragma once

#include <functional>
#include <string>
#include <unordered_set>

namespace Host {

class Readiness {
 public:
  explicit Readiness(std::function<void()> onReady) : onReady_(std::move(onReady)) {}

  // Adds a condition that readiness waits for; ignored once ready.
  void conditionIs(std::string const& name);
  void conditionMet(std::string const& name);
  // Stops taking conditions: ready as soon as (or as) none is pending.
  void waitingDone();

  bool isReady() const noexcept { return ready_; }
  std::unordered_set<std::string> const& pending() const noexcept { return pending_; }

 private:
  void checkReady();

  std::function<void()> onReady_;
  std::unordered_set<std::string> pending_;
  bool waiting_ = false;
  bool ready_ = false;
};

}  // namespace Host
