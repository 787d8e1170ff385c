// Which published mappings have been ready since they appeared. Removing a mapping that never
// became ready, or tearing the agent down while one is published, ends the process by design: the
// agent's clean-up expects the output configuration that only readiness builds. A fuzz input
// that does either has found nothing, so the harness asks this ledger before such a step.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/model/GpioLedSystemConfigDir.h"

namespace WardenFuzz {

class MappingReadiness {
 public:
  // Brings the ledger up to date after a command and the agent's reactions to it. A command sets
  // `ready` at most once, so looking after each one misses no readiness the agent saw.
  void observe(Hardware::Gpio::GpioLedSystemConfigDir const& mappings);

  // True when a mapping of that name is published and has never been ready.
  bool isNeverReady(std::string const& led) const;
  std::vector<std::string> neverReady() const;

 private:
  // Published mappings only: a removed mapping starts afresh when it is published again.
  std::map<std::string, bool> everReady_;
};

}  // namespace WardenFuzz
