// The panel's numbers in the Prometheus text format, for a monitoring system to scrape: LEDs
// mapped, ready and driven, pins by value, the driver's writes and errors per backend and its
// lamp tests, the database link, the loop's wakes and expiry lateness, and the process start.
#pragma once

#include <cstdint>
#include <string>

#include "host/http/LatenessProbe.h"
#include "host/http/PanelFeed.h"

namespace Drive {
class PinDriver;
}

namespace Http {

// The database backend's own counts, handed over by the run that has a backend (the panel sees
// no backend itself).
struct DatabaseCounters {
  std::uint64_t resyncs = 0;
  double resyncSeconds = 0;
  double lastResyncSeconds = 0;
  std::uint64_t refusedRows = 0;
};

struct MetricsInputs {
  PanelFeed const& feed;
  Drive::PinDriver const* driver = nullptr;
  LatenessProbe const& lateness;
  bool databaseConfigured = false;
  bool databaseConnected = false;
  std::uint64_t databaseReconnects = 0;
  DatabaseCounters database{};
  std::uint64_t httpRequests = 0;
  std::size_t eventStreams = 0;
  double processStart = 0;  // seconds since the epoch
};

std::string metricsText(MetricsInputs const& in);

// When this process started, in seconds since the epoch (from /proc); 0 when unknown.
double processStartTime();

}  // namespace Http
