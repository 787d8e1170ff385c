// How a live run shows what the pins do: a front panel on a terminal, a log of pin changes
// elsewhere.
#pragma once

#include "host/live/PinWatcher.h"

namespace Drive {
class PinDriver;
}

namespace Host {

class LiveView {
 public:
  virtual ~LiveView() = default;
  virtual void pinChanged(PinChange const& change) = 0;
  // After each command: the set of LEDs may have changed.
  virtual void refresh() {}
  // The terminal changed size.
  virtual void resize() {}
  // The driver lighting the pins, to show what it could not light; null before it goes away.
  virtual void driverIs(Drive::PinDriver* /*driver*/) {}
};

}  // namespace Host
