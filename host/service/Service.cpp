#include "host/service/Service.h"

#include <csignal>
#include <sstream>

#include "host/run/ExitStatus.h"
#include "host/run/PinClaim.h"

namespace Host {

namespace {

// How often the STATUS= line is brought up to date.
constexpr double kStatusInterval = 5.0;

}  // namespace

Service::Service(Zel::ActivityManager& loop, std::vector<std::string> commandLine, Options& options,
                 ServiceLog& log, std::string reloadApplies, Hooks hooks)
    : loop_(loop),
      options_(options),
      log_(log),
      reload_(std::move(commandLine), options.configPath),
      reloadApplies_(std::move(reloadApplies)),
      hooks_(std::move(hooks)),
      signals_(loop, [this](int signal) { onSignal(signal); }, {SIGINT, SIGTERM, SIGHUP, SIGUSR2}),
      watchdog_(loop, [this] { notifier_.watchdog(); }),
      statusTimer_(loop, [this] {
        statusUpdate();
        if (hooks_.everyStatus) hooks_.everyStatus();
      }) {}

bool Service::claimPins(Drive::PinMap map, Zel::Dir& pins) {
  PinClaim claim = Host::claimPins(
      std::move(map), pins, loop_, options_,
      [this](std::string const& line) { log_.warning(line); }, OptionSpelling::configKey);
  if (!claim.driver) {
    log_.error(claim.refusal);
    status_ = claim.status;
    return false;
  }
  driver_ = std::move(claim.driver);
  if (panel_) panel_->driverIs(driver_.get());
  return true;
}

bool Service::panelStart(Http::PanelFeed feed) {
  if (options_.httpAddress.empty()) return true;
  try {
    panel_ = std::make_unique<Http::PanelHttp>(
        std::move(feed), options_.httpAddress, options_.httpAllowRemote,
        [this](std::string const& line) { log_.warning(line); });
  } catch (std::exception const& error) {
    log_.error(error.what());
    return false;
  }
  panel_->driverIs(driver_.get());
  log_.notice("panel at " + panel_->url());
  return true;
}

void Service::timersStart() {
  if (std::optional<double> const interval = SystemdNotifier::watchdogPingInterval()) {
    watchdog_.startRepeating(*interval);
  }
  statusTimer_.startRepeating(kStatusInterval);
}

void Service::ready() {
  log_.info("ready");
  statusUpdate();
  notifier_.ready();
}

void Service::statusUpdate() {
  notifier_.status(hooks_.status());
}

void Service::failed(int status) {
  status_ = status;
  loop_.stop();
}

int Service::finish() {
  if (driver_) driver_->stop();
  log_.notice("stopped");
  return status_;
}

void Service::onSignal(int signal) {
  if (signal == SIGHUP) return reload();
  if (signal == SIGUSR2) return lampTest();
  // The loop ends; then the pin driver shows its stop pattern and the process exits cleanly.
  notifier_.stopping();
  log_.notice(signal == SIGTERM ? "stopping on SIGTERM" : "stopping on SIGINT");
  loop_.stop();
}

// Only what the service names changes in a running process: the rest is what it was started
// with, and a restart applies it.
void Service::reload() {
  std::optional<Options> const reloaded = reload_.reload(log_, reloadApplies_);
  if (!reloaded) return;
  if (hooks_.reloaded) hooks_.reloaded(*reloaded);
  options_.lampTestSeconds = reloaded->lampTestSeconds;
}

// Lights every mapped pin, then shows what the agent shows by then; the agent's own pin
// configuration is not written, so nothing else that follows the pins sees the test.
void Service::lampTest() {
  if (!driver_) {
    return log_.warning(options_.pinMap.empty()
                            ? "SIGUSR2: a lamp test needs a pin map (pins = \"FILE\")"
                            : "SIGUSR2: no lamp test before the pins are claimed");
  }
  std::ostringstream line;
  line << "lamp test for " << options_.lampTestSeconds << " s";
  log_.notice(line.str());
  driver_->lampTest(options_.lampTestSeconds);
}

}  // namespace Host
