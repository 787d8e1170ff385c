#include "fuzz/WaitBudget.h"

#include <algorithm>
#include <limits>
#include <variant>

namespace WardenFuzz {

WaitBudget::WaitBudget(Host::Script const& script)
    : remaining_(std::numeric_limits<double>::infinity()) {
  double shortest = std::numeric_limits<double>::infinity();
  int flashing = 0;
  for (Host::ScriptLine const& line : script.lines) {
    auto const* led = std::get_if<Host::LedCommand>(&line.command);
    if (!led || led->flashInterval <= 0.0) continue;
    shortest = std::min(shortest, led->flashInterval);
    ++flashing;
  }
  // Each command may flash another LED; charging every tick to the shortest interval keeps the
  // bound simple and safe.
  if (flashing > 0) remaining_ = kTicks * shortest / flashing;
}

double WaitBudget::grant(double seconds) {
  double const granted = std::min(seconds, remaining_);
  remaining_ -= granted;
  return granted;
}

}  // namespace WardenFuzz
