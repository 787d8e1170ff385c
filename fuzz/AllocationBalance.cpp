#include "fuzz/AllocationBalance.h"

namespace WardenFuzz {

AllocationBalance::AllocationBalance() {
  for (Zel::AllocTrackTypeInfo const* type : Zel::AllocTrackTypeInfo::all()) {
    liveBefore_[type] = type->live();
  }
}

std::string AllocationBalance::growth() const {
  std::string text;
  for (Zel::AllocTrackTypeInfo const* type : Zel::AllocTrackTypeInfo::all()) {
    auto const before = liveBefore_.find(type);
    std::int64_t const grown = type->live() - (before == liveBefore_.end() ? 0 : before->second);
    if (grown <= 0) continue;
    if (!text.empty()) text += ", ";
    text += type->typeName() + " +" + std::to_string(grown);
  }
  return text;
}

}  // namespace WardenFuzz
