#include "host/serve/Readiness.h"

namespace Host {

void Readiness::conditionIs(std::string const& name) {
  if (!ready_) pending_.insert(name);
}

void Readiness::conditionMet(std::string const& name) {
  pending_.erase(name);
  checkReady();
}

void Readiness::waitingDone() {
  waiting_ = true;
  checkReady();
}

void Readiness::checkReady() {
  if (ready_ || !waiting_ || !pending_.empty()) return;
  ready_ = true;
  if (onReady_) onReady_();
}

}  // namespace Host
