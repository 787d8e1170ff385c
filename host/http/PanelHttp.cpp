#include "host/http/PanelHttp.h"

#include <unistd.h>

#include "host/http/ListenAddress.h"
#include "host/http/PanelJson.h"
#include "host/http/PanelMetrics.h"
#include "host/http/PanelPage.h"

namespace Http {

namespace {

constexpr double kLatenessInterval = 0.25;
constexpr char kJson[] = "application/json";

}  // namespace

PanelHttp::PanelHttp(PanelFeed feed, std::string const& address, bool allowRemote,
                     HttpServer::Log log, ServerLimits limits)
    : feed_(std::move(feed)),
      processStart_(processStartTime()),
      lateness_(feed_.loop, kLatenessInterval) {
  ListenAddress const where = parseListenAddress(address);
  int const fd = listenOn(where, allowRemote);
  if (where.isUnix) {
    unixPath_ = where.path;
    url_ = address;
  } else {
    bool const v6 = where.host.find(':') != std::string::npos;
    url_ = "http://" + (v6 ? "[" + where.host + "]" : where.host) + ":" + where.port + "/";
  }
  server_ = std::make_unique<HttpServer>(feed_.loop, fd, static_cast<Site&>(*this), std::move(log),
                                         limits);
  events_ = std::make_unique<PanelEvents>(
      feed_, [this] { return server_->streamCount() != 0; },
      [this](std::string event) { server_->publish(std::move(event)); });
}

PanelHttp::~PanelHttp() {
  events_.reset();
  server_.reset();
  if (!unixPath_.empty()) ::unlink(unixPath_.c_str());
}

void PanelHttp::driverIs(Drive::PinDriver const* driver) {
  driver_ = driver;
  events_->driverIs(driver);
}

void PanelHttp::databaseLinkIs(bool up) {
  if (up && !databaseUp_ && databaseWasUp_) ++reconnects_;
  if (up) databaseWasUp_ = true;
  databaseUp_ = up;
}

std::string PanelHttp::streamStart() {
  events_->viewerArrived();
  // A browser that loses the stream asks again after half a second and gets a new picture.
  return "retry: 500\nevent: picture\ndata: " + pictureJson(feed_, driver_) + "\n\n";
}

Reply PanelHttp::get(std::string_view path) {
  if (path == "/" || path == "/index.html") {
    return {200, "text/html; charset=utf-8", std::string(panelPage())};
  }
  if (path == "/leds") return {200, kJson, ledsJson(feed_) + "\n"};
  if (path == "/pins") return {200, kJson, pinsJson(feed_, driver_) + "\n"};
  if (path == "/metrics") {
    MetricsInputs in{feed_, driver_, lateness_};
    in.databaseConfigured =
        static_cast<bool>(feed_.databaseState) && feed_.databaseState() != "embedded";
    in.databaseConnected = databaseUp_;
    in.databaseReconnects = reconnects_;
    if (databaseCounters_) in.database = databaseCounters_();
    in.httpRequests = server_->requestCount();
    in.eventStreams = server_->streamCount();
    in.processStart = processStart_;
    return {200, "text/plain; version=0.0.4; charset=utf-8", metricsText(in)};
  }
  return {404, "text/plain; charset=utf-8", "not found: / /events /leds /pins /metrics\n"};
}

}  // namespace Http
