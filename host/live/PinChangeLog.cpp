#include "host/live/PinChangeLog.h"

#include <cstdio>

namespace Host {

std::string formatPinChange(PinChange const& change) {
  char time[32];
  std::snprintf(time, sizeof time, "%.3f", change.time);
  std::string line = std::string(time) + " pin " + change.pin + ' ';
  line += change.value ? std::to_string(*change.value) : std::string("removed");
  return line;
}

void PinChangeLog::pinChanged(PinChange const& change) {
  if (broken_) return;
  out_ << formatPinChange(change) << '\n';
  out_.flush();
  if (out_) return;
  broken_ = true;
  if (onBroken_) onBroken_();
}

}  // namespace Host
