#include "tests/reliability/AllocationLedger.h"

#include <sstream>

namespace PinlampReliability {

AllocationLedger AllocationLedger::now() {
  AllocationLedger ledger;
  for (Zel::AllocTrackTypeInfo const* info : Zel::AllocTrackTypeInfo::all()) {
    ledger.live_[info] = info->live();
  }
  return ledger;
}

std::string AllocationLedger::differencesSince(
    std::set<Zel::AllocTrackTypeInfo const*> const& ignored) const {
  std::ostringstream out;
  for (Zel::AllocTrackTypeInfo const* info : Zel::AllocTrackTypeInfo::all()) {
    if (ignored.count(info)) continue;
    auto const before = live_.find(info);
    std::int64_t const was = before == live_.end() ? 0 : before->second;
    if (info->live() != was) {
      out << info->typeName() << ": " << was << " alive before, " << info->live() << " after; ";
    }
  }
  return out.str();
}

}  // namespace PinlampReliability
