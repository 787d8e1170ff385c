// The read-only HTTP endpoint of a run (`--http ADDR`): the panel page (/), its event stream
// (/events), the LEDs and pins as JSON (/leds, /pins) and metrics (/metrics). It changes
// nothing and lights nothing; a run adds it with its feed and, once it has one, its pin driver.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "host/http/HttpServer.h"
#include "host/http/LatenessProbe.h"
#include "host/http/PanelEvents.h"
#include "host/http/PanelFeed.h"
#include "host/http/PanelMetrics.h"

namespace Drive {
class PinDriver;
}

namespace Http {

class PanelHttp final : private Site {
 public:
  // Listens on `address` (unix:PATH or HOST:PORT); throws ListenError or std::runtime_error.
  PanelHttp(PanelFeed feed, std::string const& address, bool allowRemote, HttpServer::Log log,
            ServerLimits limits = {});
  ~PanelHttp() override;

  void driverIs(Drive::PinDriver const* driver);
  // The run's database link changed state; a return to connected counts as a reconnect.
  void databaseLinkIs(bool up);
  // Where the backend's counts come from, for a run with a database backend.
  void databaseCountersIs(std::function<DatabaseCounters()> counters) {
    databaseCounters_ = std::move(counters);
  }
  // "http://127.0.0.1:8080/" or "unix:/run/pinlamp/http.sock", for the start-up message.
  std::string const& url() const noexcept { return url_; }

  HttpServer& server() noexcept { return *server_; }
  PanelEvents& events() noexcept { return *events_; }

 private:
  Reply get(std::string_view path) override;
  bool isStream(std::string_view path) const override { return path == "/events"; }
  std::string streamStart() override;

  PanelFeed feed_;
  std::string url_;
  std::string unixPath_;  // removed when the endpoint goes
  Drive::PinDriver const* driver_ = nullptr;
  bool databaseUp_ = false;
  bool databaseWasUp_ = false;
  std::uint64_t reconnects_ = 0;
  std::function<DatabaseCounters()> databaseCounters_;
  double processStart_ = 0;
  LatenessProbe lateness_;
  std::unique_ptr<HttpServer> server_;
  std::unique_ptr<PanelEvents> events_;
};

}  // namespace Http
