// The live view when the output is not a terminal: one line per pin change,
// "<time> pin NAME VALUE" (or "removed"), the time in seconds since the run started.
#pragma once

#include <functional>
#include <ostream>
#include <string>

#include "host/live/LiveView.h"

namespace Host {

std::string formatPinChange(PinChange const& change);

class PinChangeLog : public LiveView {
 public:
  // `onBroken` runs once when the output can no longer be written (a closed pipe).
  PinChangeLog(std::ostream& out, std::function<void()> onBroken)
      : out_(out), onBroken_(std::move(onBroken)) {}
  void pinChanged(PinChange const& change) override;

 private:
  std::ostream& out_;
  std::function<void()> onBroken_;
  bool broken_ = false;
};

}  // namespace Host
