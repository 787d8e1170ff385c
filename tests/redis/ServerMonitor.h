// Every command the server runs, as MONITOR shows it, on a blocking connection of its own: what
// reached the pin table during a restart is read back afterwards, up to a marker, so a
// transient write is never missed between two looks.
#pragma once

#include <string>
#include <vector>

struct redisContext;

namespace PinlampTest {

class ServerMonitor {
 public:
  explicit ServerMonitor(std::string const& socketPath);
  ~ServerMonitor();
  ServerMonitor(ServerMonitor const&) = delete;
  ServerMonitor& operator=(ServerMonitor const&) = delete;

  // The commands run since the last call (or since start), each as its words joined by spaces
  // without quotes ("HSET GPIO_PIN|g value 1"). Bounded: throws when the marker it sends does
  // not come back within a few seconds.
  std::vector<std::string> commands();
  // Those of `commands` that write or delete `key` (HSET, DEL, ... with it as first argument).
  static std::vector<std::string> writesOf(std::vector<std::string> const& commands,
                                           std::string const& key);

 private:
  std::string socket_;
  redisContext* context_ = nullptr;
  unsigned marker_ = 0;
};

}  // namespace PinlampTest
