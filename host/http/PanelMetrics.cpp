#include "host/http/PanelMetrics.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "host/drive/PinDriver.h"
#include "platform/model/CorvelPinConfig.h"
#include "platform/model/GpioLedConfig.h"
#include "platform/model/PinColour.h"

namespace Http {

namespace {

class Writer {
 public:
  void family(char const* name, char const* type, char const* help) {
    out_ << "# HELP " << name << ' ' << help << "\n# TYPE " << name << ' ' << type << '\n';
  }
  void sample(std::string const& name, double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.17g", value);
    out_ << name << ' ' << text << '\n';
  }
  std::string text() const { return out_.str(); }

 private:
  std::ostringstream out_;
};

std::size_t drivenLeds(MetricsInputs const& in) {
  if (!in.driver || !in.feed.mappings) return 0;
  std::size_t driven = 0;
  for (auto member : in.feed.mappings->gpioLeds()) {
    bool any = false, all = true;
    for (std::size_t colour = 0; colour < Hardware::Gpio::kPinColourCount; ++colour) {
      for (auto pin : member.value->pinNames(static_cast<Hardware::Gpio::PinColour>(colour))) {
        Drive::PinDriver::Pin const* driven = in.driver->find(pin.key.stdString());
        any = true;
        if (!driven || !driven->claimed) all = false;
      }
    }
    if (any && all) ++driven;
  }
  return driven;
}

}  // namespace

std::string metricsText(MetricsInputs const& in) {
  Writer w;
  std::size_t mapped = 0, ready = 0;
  if (in.feed.mappings) {
    for (auto member : in.feed.mappings->gpioLeds()) {
      ++mapped;
      if (member.value->ready()) ++ready;
    }
  }
  w.family("pinlamp_leds_mapped", "gauge", "LEDs with a pin mapping.");
  w.sample("pinlamp_leds_mapped", static_cast<double>(mapped));
  w.family("pinlamp_leds_ready", "gauge", "Mapped LEDs whose mapping is ready.");
  w.sample("pinlamp_leds_ready", static_cast<double>(ready));
  w.family("pinlamp_leds_driven", "gauge", "Mapped LEDs whose every pin the pin driver holds.");
  w.sample("pinlamp_leds_driven", static_cast<double>(drivenLeds(in)));

  std::size_t lit = 0, dark = 0;
  for (auto member : in.feed.pins.entries()) {
    auto const pin = Zel::ptrCast<Hardware::Gpio::CorvelPinConfig>(member.value);
    if (!pin) continue;
    pin->value() != 0 ? ++lit : ++dark;
  }
  w.family("pinlamp_pins", "gauge", "Pins the agent writes, by value.");
  w.sample("pinlamp_pins{value=\"lit\"}", static_cast<double>(lit));
  w.sample("pinlamp_pins{value=\"dark\"}", static_cast<double>(dark));

  if (in.driver) {
    Drive::PinDriver::Counters const& counters = in.driver->counters();
    auto perBackend = [&w](char const* name, auto const& counts) {
      for (std::size_t b = 0; b < Drive::kBackendCount; ++b) {
        w.sample(std::string(name) + "{backend=\"" +
                     Drive::backendName(static_cast<Drive::Backend>(b)) + "\"}",
                 static_cast<double>(counts[b]));
      }
    };
    w.family("pinlamp_pin_writes_total", "counter", "Pin writes by the pin driver, per backend.");
    perBackend("pinlamp_pin_writes_total", counters.writes);
    w.family("pinlamp_pin_write_errors_total", "counter", "Pin writes that failed, per backend.");
    perBackend("pinlamp_pin_write_errors_total", counters.writeErrors);
    w.family("pinlamp_pins_failing", "gauge", "Mapped pins whose last write or claim failed.");
    w.sample("pinlamp_pins_failing", static_cast<double>(in.driver->failingCount()));
    w.family("pinlamp_lamp_tests_total", "counter", "Lamp tests run.");
    w.sample("pinlamp_lamp_tests_total", static_cast<double>(counters.lampTests));
  }

  if (in.databaseConfigured) {
    w.family("pinlamp_database_connected", "gauge",
             "1 while the link to the database server is up.");
    w.sample("pinlamp_database_connected", in.databaseConnected ? 1 : 0);
    w.family("pinlamp_database_reconnects_total", "counter",
             "Times the link to the database server came back after a loss.");
    w.sample("pinlamp_database_reconnects_total", static_cast<double>(in.databaseReconnects));
    w.family("pinlamp_database_resync_duration_seconds", "summary",
             "Whole reads of the server's tables, at connect and every reconnect, until applied.");
    w.sample("pinlamp_database_resync_duration_seconds_sum", in.database.resyncSeconds);
    w.sample("pinlamp_database_resync_duration_seconds_count",
             static_cast<double>(in.database.resyncs));
    w.family("pinlamp_database_last_resync_duration_seconds", "gauge",
             "How long the latest whole read of the server's tables took until applied.");
    w.sample("pinlamp_database_last_resync_duration_seconds", in.database.lastResyncSeconds);
    w.family("pinlamp_database_refused_rows_total", "counter",
             "Rows of the server's tables refused for bad data (each also logged).");
    w.sample("pinlamp_database_refused_rows_total", static_cast<double>(in.database.refusedRows));
  }

  w.family("pinlamp_loop_wakes_total", "counter", "Times the activity loop woke.");
  w.sample("pinlamp_loop_wakes_total", static_cast<double>(in.feed.loop.wakeCount()));
  w.family("pinlamp_loop_expiry_lateness_seconds", "histogram",
           "How long after its due time a timer of the activity loop ran.");
  auto const counts = in.lateness.cumulative();
  for (std::size_t i = 0; i < LatenessProbe::kBounds.size(); ++i) {
    char bound[32];
    std::snprintf(bound, sizeof bound, "%g", LatenessProbe::kBounds[i]);
    w.sample(std::string("pinlamp_loop_expiry_lateness_seconds_bucket{le=\"") + bound + "\"}",
             static_cast<double>(counts[i]));
  }
  w.sample("pinlamp_loop_expiry_lateness_seconds_bucket{le=\"+Inf\"}",
           static_cast<double>(in.lateness.count()));
  w.sample("pinlamp_loop_expiry_lateness_seconds_sum", in.lateness.sum());
  w.sample("pinlamp_loop_expiry_lateness_seconds_count", static_cast<double>(in.lateness.count()));

  w.family("pinlamp_http_requests_total", "counter", "HTTP requests answered.");
  w.sample("pinlamp_http_requests_total", static_cast<double>(in.httpRequests));
  w.family("pinlamp_http_event_streams", "gauge", "Open event streams (panel viewers).");
  w.sample("pinlamp_http_event_streams", static_cast<double>(in.eventStreams));
  w.family("process_start_time_seconds", "gauge",
           "Start time of the process since unix epoch in seconds.");
  w.sample("process_start_time_seconds", in.processStart);
  return w.text();
}

double processStartTime() {
  std::ifstream stat("/proc/self/stat");
  std::string line;
  if (!std::getline(stat, line)) return 0;
  // Field 22, counted after the command name, which may hold spaces but ends at the last ')'.
  std::size_t const end = line.rfind(')');
  if (end == std::string::npos) return 0;
  std::istringstream fields(line.substr(end + 2));
  std::string field;
  unsigned long long ticks = 0;
  for (int i = 3; i <= 22 && fields >> field; ++i) {
    if (i == 22) ticks = std::stoull(field);
  }
  std::ifstream system("/proc/stat");
  double boot = 0;
  for (std::string key; system >> key;) {
    if (key == "btime") {
      system >> boot;
      break;
    }
    std::getline(system, key);
  }
  return boot + static_cast<double>(ticks) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

}  // namespace Http
