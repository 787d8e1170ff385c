#include "host/serve/DriveRun.h"

#include <csignal>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

#include "host/drive/DriverReport.h"
#include "host/drive/PinDriver.h"
#include "host/http/PanelHttp.h"
#include "host/live/SignalWatch.h"
#include "host/run/ExitStatus.h"
#include "host/serve/ConfigReload.h"
#include "host/serve/PeriodicTimer.h"
#include "host/serve/ServeConfig.h"
#include "host/serve/ServiceInputs.h"
#include "host/serve/ServiceLog.h"
#include "host/serve/SystemdNotifier.h"
#include "platform/statedb/redis/PinTableFollower.h"
#include "platform/zel/ActivityManagerScope.h"

namespace Host {

namespace {

constexpr double kStatusInterval = 5.0;

class DriveRun {
 public:
  DriveRun(std::vector<std::string> commandLine, Options options, Drive::PinMap map,
           Statedb::Redis::Endpoint endpoint, ServiceLog& log)
      : options_(std::move(options)),
        log_(log),
        reload_(std::move(commandLine), options_.configPath),
        map_(std::move(map)),
        pins_(Zel::Dir::dirIs("pins")),
        follower_(*loop_, std::move(endpoint), {}, *pins_,
                  [this](std::string const& line) { log_.database(line); }) {}

  ~DriveRun() {
    http_.reset();
    statusTimer_.reset();
    watchdog_.reset();
    signals_.reset();
    driver_.reset();
  }

  int run() {
    signals_ = std::make_unique<SignalWatch>(
        *loop_, [this](int signal) { onSignal(signal); },
        std::initializer_list<int>{SIGINT, SIGTERM, SIGHUP, SIGUSR2});
    log_.notice("driving the pins of " + options_.pinMap + " from " +
                follower_.link().endpoint().describe());
    if (!startHttp()) return kExitFailed;
    follower_.upHandlerIs([this](bool up) {
      if (http_) http_->databaseLinkIs(up);
      if (driver_) updateStatus();
    });
    follower_.start();
    // Claimed once the table is read, so that every line starts as the agent last showed it.
    follower_.whenSynced([this] { claim(); });
    loop_->run();
    if (driver_) driver_->stop();
    log_.notice("stopped");
    return status_;
  }

 private:
  void claim() {
    try {
      Drive::DriverOptions driverOptions;
      driverOptions.partial = options_.pinsPartial;
      driver_ = std::make_unique<Drive::PinDriver>(
          std::move(map_), *pins_, *loop_, [this](std::string const& line) { log_.warning(line); },
          driverOptions);
    } catch (Drive::DriveError const& error) {
      log_.error("pins that cannot be driven (pins-partial drives the rest): " +
                 std::string(error.what()));
      status_ = exitStatusOf(error);
      loop_->stop();
      return;
    }
    if (http_) http_->driverIs(driver_.get());
    log_.info("ready");
    updateStatus();
    notifier_.ready();
    startTimers();
  }

  bool startHttp() {
    if (options_.httpAddress.empty()) return true;
    try {
      http_ = std::make_unique<Http::PanelHttp>(
          Http::PanelFeed{"drive " + options_.pinMap, *loop_, *pins_, nullptr, nullptr,
                          [this] { return databaseState(); }, loop_->currentTime()},
          options_.httpAddress, options_.httpAllowRemote,
          [this](std::string const& line) { log_.warning(line); });
    } catch (std::exception const& error) {
      log_.error(error.what());
      return false;
    }
    log_.notice("panel at " + http_->url());
    return true;
  }

  std::string databaseState() {
    return follower_.link().endpoint().describe() +
           (follower_.isUp() ? " connected" : " lost, reconnecting");
  }

  void startTimers() {
    if (std::optional<double> const interval = SystemdNotifier::watchdogPingInterval()) {
      watchdog_.emplace(*loop_, *interval, [this] { notifier_.watchdog(); });
    }
    statusTimer_.emplace(*loop_, kStatusInterval, [this] { updateStatus(); });
  }

  void updateStatus() {
    notifier_.status(Drive::driverSummary(*driver_) + "; database " + databaseState());
  }

  void onSignal(int signal) {
    if (signal == SIGUSR2) return lampTest();
    if (signal == SIGHUP) return reload();
    notifier_.stopping();
    log_.notice(signal == SIGTERM ? "stopping on SIGTERM" : "stopping on SIGINT");
    loop_->stop();
  }

  // Only the lamp test's length changes in a running driver: the map, its pins and the server
  // are what it claimed and follows, and a restart applies them.
  void reload() {
    std::optional<Options> const reloaded = reload_.reload(log_, "lamp-test-seconds");
    if (!reloaded) return;
    options_.lampTestSeconds = reloaded->lampTestSeconds;
  }

  void lampTest() {
    if (!driver_) return log_.warning("SIGUSR2: no lamp test before the pins are claimed");
    std::ostringstream line;
    line << "lamp test for " << options_.lampTestSeconds << " s";
    log_.notice(line.str());
    driver_->lampTest(options_.lampTestSeconds);
  }

  Options options_;
  ServiceLog& log_;
  ConfigReload reload_;
  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::monotonic};
  Drive::PinMap map_;
  Zel::Ptr<Zel::Dir> pins_;
  Statedb::Redis::PinTableFollower follower_;
  SystemdNotifier notifier_;
  std::unique_ptr<Drive::PinDriver> driver_;
  std::unique_ptr<SignalWatch> signals_;
  std::unique_ptr<Http::PanelHttp> http_;
  std::optional<PeriodicTimer> watchdog_;
  std::optional<PeriodicTimer> statusTimer_;
  int status_ = kExitDone;
};

}  // namespace

int runDrive(std::vector<std::string> const& commandLine) {
  ServiceLog log(std::cerr, standardErrorIsJournal());
  ParsedOptions const parsed = loadServiceOptions(commandLine);
  if (!parsed.error.empty()) {
    log.error(parsed.error);
    return kExitWrongInput;
  }
  // A wrong URL, map or device is refused before anything connects or is driven.
  int status = kExitDone;
  std::optional<ServiceInputs> inputs =
      checkServiceInputs(commandLine, parsed.options, log, status);
  if (!inputs) return status;
  return DriveRun(commandLine, parsed.options, std::move(*inputs->pinMap),
                  std::move(*inputs->endpoint), log)
      .run();
}

}  // namespace Host
