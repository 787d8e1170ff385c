#include "host/live/PinWatcher.h"

#include <utility>

namespace Host {

PinWatcher::PinWatcher(Zel::Dir& pins, Clock clock, Listener listener)
    : clock_(std::move(clock)), listener_(std::move(listener)), follower_(pins, *this) {}

PinWatcher::Tag PinWatcher::onPinArrived(std::string const& name, Pin const& pin) {
  report(name, pin.value());
  return 0;
}

void PinWatcher::onPinValue(Tag, std::string const& name, Pin const& pin) {
  report(name, pin.value());
}

void PinWatcher::onPinLeft(std::string const& name) {
  auto const found = shown_.find(name);
  if (found == shown_.end()) return;
  bool const wasShown = found->second.has_value();
  shown_.erase(found);
  if (wasShown && listener_) listener_({name, std::nullopt, clock_()});
}

void PinWatcher::report(std::string const& pin, std::optional<std::uint32_t> value) {
  auto& shown = shown_[pin];
  if (shown == value) return;
  shown = value;
  if (listener_) listener_({pin, value, clock_()});
}

}  // namespace Host
