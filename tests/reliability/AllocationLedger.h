// A snapshot of how many objects of every tracked type are alive, to prove that tearing an agent
// (or a whole run) down leaves nothing behind.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "platform/zel/AllocTrack.h"

namespace PinlampReliability {

class AllocationLedger {
 public:
  static AllocationLedger now();

  // The types whose live count differs from this snapshot's ("" when none), leaving out the
  // `ignored` ones. A type first allocated after the snapshot started from zero.
  std::string differencesSince(std::set<Zel::AllocTrackTypeInfo const*> const& ignored = {}) const;

 private:
  std::map<Zel::AllocTrackTypeInfo const*, std::int64_t> live_;
};

}  // namespace PinlampReliability
