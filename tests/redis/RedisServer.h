// A database server of the tests' own: redis-server on a unix socket in a fresh temporary
// folder, without persistence, stopped by its process id. Kill and restart it to test outages.
#pragma once

#include <string>
#include <vector>

namespace PinlampTest {

class RedisServer {
 public:
  // `extra` arguments go to the server's command line (such as "--notify-keyspace-events").
  explicit RedisServer(std::vector<std::string> extra = {});
  ~RedisServer();
  RedisServer(RedisServer const&) = delete;
  RedisServer& operator=(RedisServer const&) = delete;

  // Starts the server and waits (bounded) until its socket accepts a connection; throws when it
  // does not come up.
  void start();
  // Ends the server with `signal` and reaps it.
  void stop(int signal);
  bool isRunning() const noexcept { return pid_ > 0; }
  int pid() const noexcept { return pid_; }

  std::string const& socketPath() const noexcept { return socket_; }
  std::string url() const { return "unix:" + socket_; }
  std::string const& folder() const noexcept { return folder_; }

 private:
  std::vector<std::string> extra_;
  std::string folder_;
  std::string socket_;
  int pid_ = -1;
};

}  // namespace PinlampTest
