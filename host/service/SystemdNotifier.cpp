#include "host/service/SystemdNotifier.h"

#include <systemd/sd-daemon.h>

#include <cstdint>

namespace Host {

void SystemdNotifier::status(std::string const& text) {
  if (text == lastStatus_) return;
  lastStatus_ = text;
  send("STATUS=" + text);
}

std::optional<double> SystemdNotifier::watchdogPingInterval() {
  std::uint64_t microseconds = 0;
  if (::sd_watchdog_enabled(0, &microseconds) <= 0 || microseconds == 0) return std::nullopt;
  return static_cast<double>(microseconds) / 2e6;
}

void SystemdNotifier::send(std::string const& message) {
  // A failed notification is not worth stopping the agent for: the service manager, if it
  // expected one, acts on its absence.
  (void)::sd_notify(0, message.c_str());
}

}  // namespace Host
