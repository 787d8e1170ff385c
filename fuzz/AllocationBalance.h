// The framework objects alive before a fuzz input, by type. Objects that outlive the input while
// something still points at them (a registry, a cycle through a global) are invisible to
// LeakSanitizer but show here as a type with more objects alive than before.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "platform/zel/AllocTrack.h"

namespace WardenFuzz {

class AllocationBalance {
 public:
  AllocationBalance();

  // Empty when no type has more objects alive than at construction, else each type that has and
  // by how many.
  std::string growth() const;

 private:
  std::map<Zel::AllocTrackTypeInfo const*, std::int64_t> liveBefore_;
};

}  // namespace WardenFuzz
