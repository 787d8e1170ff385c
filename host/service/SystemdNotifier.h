// The service manager's notification protocol (sd_notify): readiness, status lines, watchdog
// pings and the announcement of a stop. Outside a service manager (no NOTIFY_SOCKET) every call
// does nothing, so `warden serve` also runs from a shell.
#pragma once

#include <optional>
#include <string>

namespace Host {

class SystemdNotifier {
 public:
  void ready() { send("READY=1"); }
  void stopping() { send("STOPPING=1"); }
  void watchdog() { send("WATCHDOG=1"); }
  // Sends the status line only when it differs from the last one sent.
  void status(std::string const& text);

  // Half of the watchdog interval that the service manager set for this process (WATCHDOG_USEC),
  // in seconds: pinging at twice the rate leaves a whole half interval for a late wake.
  static std::optional<double> watchdogPingInterval();

 private:
  static void send(std::string const& message);

  std::string lastStatus_;
};

}  // namespace Host
