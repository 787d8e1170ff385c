// How much virtual time a fuzz input may let pass. A flashing LED ticks once per interval, so a
// day's wait at the shortest interval would be tens of millions of ticks for a few bytes of input;
// the budget allows about kTicks ticks in all, spread over the LEDs that the script sets flashing.
// Without flashing nothing ticks and waits are left as written.
#pragma once

#include "host/script/ScriptParser.h"

namespace WardenFuzz {

class WaitBudget {
 public:
  static constexpr double kTicks = 200.0;

  explicit WaitBudget(Host::Script const& script);

  // The part of a wait of `seconds` that the budget still allows; the rest of the budget shrinks
  // by it.
  double grant(double seconds);

 private:
  double remaining_;
};

}  // namespace WardenFuzz
