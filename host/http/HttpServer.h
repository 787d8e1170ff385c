// A read-only HTTP server inside the activity loop, on libmicrohttpd without threads of its own:
// the library's epoll descriptor is one more descriptor the loop watches, and its timeouts one
// more wake on the loop's clock, so every request is served between two pieces of the agent's
// work and nothing needs a lock. GET and HEAD only; a request too large for the per-connection
// memory is answered by the library, a client that stalls is dropped after the idle timeout, and
// the number of connections is capped, so no client can hold the loop or take its memory.
//
// Event streams stay open: each one is a queue of shared events that the connection drains and,
// when empty, is suspended until the next event, so an idle viewer costs no wake. A viewer that
// falls too far behind is dropped; the browser reconnects and starts again from a full picture.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>

#include "platform/zel/ActivityManager.h"
#include "platform/zel/Timer.h"

struct MHD_Daemon;
struct MHD_Connection;

namespace Http {

struct Reply {
  unsigned status = 200;
  std::string contentType = "text/plain; charset=utf-8";
  std::string body;
};

class Site {
 public:
  virtual ~Site() = default;
  virtual Reply get(std::string_view path) = 0;
  // The paths served as event streams, and the first event a new stream receives.
  virtual bool isStream(std::string_view path) const = 0;
  virtual std::string streamStart() = 0;
};

struct ServerLimits {
  unsigned connections = 256;
  std::size_t requestBytes = 16 * 1024;  // headers and all, per connection
  unsigned idleSeconds = 10;
  std::size_t streamBacklogBytes = 1 << 20;  // a viewer further behind is dropped
  double keepAliveSeconds = 15;              // a comment line keeps idle streams open
};

class HttpServer {
 public:
  using Log = std::function<void(std::string const& line)>;

  // Serves on `listenFd` (taken over) from now on. Throws std::runtime_error when the library
  // cannot start.
  HttpServer(Zel::ActivityManager& loop, int listenFd, Site& site, Log log,
             ServerLimits limits = {});
  ~HttpServer();
  HttpServer(HttpServer const&) = delete;
  HttpServer& operator=(HttpServer const&) = delete;

  // Queues `event` (a whole "data: ...\n\n" record) on every open stream.
  void publish(std::string event);
  std::size_t streamCount() const noexcept { return streams_.size(); }
  std::uint64_t requestCount() const noexcept { return requests_; }
  std::uint64_t droppedStreamCount() const noexcept { return droppedStreams_; }

  struct Stream;

 private:
  friend struct Callbacks;  // the library's entry points

  bool answer(MHD_Connection* connection, std::string_view path, bool head);
  bool openStream(MHD_Connection* connection);
  void resume(Stream& stream);
  void service();
  void keepAlive();

  Zel::ActivityManager& loop_;
  Site& site_;
  Log log_;
  ServerLimits limits_;
  MHD_Daemon* daemon_ = nullptr;
  int epollFd_ = -1;
  std::list<Stream> streams_;
  std::uint64_t requests_ = 0;
  std::uint64_t droppedStreams_ = 0;
  bool stopping_ = false;
  Zel::Timer timeout_;
  Zel::Timer keepAlive_;
};

}  // namespace Http
