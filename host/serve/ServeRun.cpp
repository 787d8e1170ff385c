#include "host/serve/ServeRun.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <thread>

#include "host/drive/DriverReport.h"
#include "host/drive/PinDriver.h"
#include "host/http/PanelHttp.h"
#include "host/live/SignalWatch.h"
#include "host/run/AgentProfile.h"
#include "host/run/ExitStatus.h"
#include "host/run/RunSetup.h"
#include "host/run/ServerDatabase.h"
#include "host/run/Session.h"
#include "host/serve/ConfigReload.h"
#include "host/serve/PeriodicTimer.h"
#include "host/serve/Readiness.h"
#include "host/serve/ServeConfig.h"
#include "host/serve/ServiceInputs.h"
#include "host/serve/ServiceLog.h"
#include "host/serve/SystemdNotifier.h"

namespace Host {

namespace {

// How often the STATUS= line is brought up to date.
constexpr double kStatusInterval = 5.0;

// Readiness conditions: the agent's mounts, with a pin map the pins claimed, and with a database
// server its first resync applied (and the pins written in reaction in the pin table).
constexpr char kMountsCondition[] = "mounts";
constexpr char kPinsCondition[] = "pins";
constexpr char kDatabaseCondition[] = "database";

// Test-only: with this set to N seconds, SIGUSR1 blocks the activity loop for N seconds, so
// that a test can see the watchdog pings stop while the loop is stuck.
constexpr char kStallVariable[] = "WARDEN_TEST_STALL_SECONDS";

double stallSeconds() {
  char const* text = std::getenv(kStallVariable);
  return text ? std::atof(text) : 0.0;
}

char const* signalName(int signal) {
  switch (signal) {
    case SIGTERM:
      return "SIGTERM";
    case SIGINT:
      return "SIGINT";
    case SIGHUP:
      return "SIGHUP";
    default:
      return "a signal";
  }
}

class ServeRun {
 public:
  ServeRun(std::vector<std::string> commandLine, Options options,
           std::optional<Drive::PinMap> pinMap, ServiceLog& log)
      : options_(std::move(options)),
        log_(log),
        setup_(options_, log_.traceStream()),
        readiness_([this] { becomeReady(); }),
        reload_(std::move(commandLine), options_.configPath),
        pinMap_(std::move(pinMap)) {}

  ~ServeRun() {
    http_.reset();
    statusTimer_.reset();
    watchdog_.reset();
    signals_.reset();
    driver_.reset();
    database_.reset();
    session_.reset();  // the agent's last records still reach the host's sink
  }

  int run() {
    if (!setup_.hasPlugin()) {
      log_.error(setup_.loadError());
      return kExitWrongInput;
    }
    setup_.traceLevelsIs(0);
    session_.emplace(Zel::ActivityManager::TimeSource::monotonic,
                     [this](std::string const& text) { log_.error("the agent raised: " + text); });
    setup_.traces().epochIs(session_->startTime());
    watchSignals();
    log_.notice("serving agent '" + options_.agentName + "' from " + setup_.plugin().path() +
                " on cell " + std::to_string(options_.cell) + ", database " + databaseState());
    if (!startDriver() || !startAgent() || !startDatabase() || !startHttp()) return startFailure_;
    readiness_.waitingDone();
    startTimers();
    session_->loop().run();
    if (driver_) driver_->stop();
    log_.notice("stopped");
    return status_;
  }

 private:
  void watchSignals() {
    auto handler = [this](int signal) { onSignal(signal); };
    Zel::ActivityManager& loop = session_->loop();
    if (stallSeconds() > 0) {
      signals_ = std::make_unique<SignalWatch>(
          loop, handler, std::initializer_list<int>{SIGINT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2});
    } else {
      signals_ = std::make_unique<SignalWatch>(
          loop, handler, std::initializer_list<int>{SIGINT, SIGTERM, SIGHUP, SIGUSR2});
    }
  }

  bool startAgent() {
    readiness_.conditionIs(kMountsCondition);
    try {
      session_->startAgent(setup_.agentFactory(), options_.agentName);
    } catch (std::exception const& error) {
      log_.error("the agent could not be created: " + std::string(error.what()));
      return false;
    }
    if (session_->agent()->mountStatus() != Statedb::mountSuccess_) {
      log_.error("the agent's mounts failed");
      return false;
    }
    readiness_.conditionMet(kMountsCondition);
    return true;
  }

  // The map is read before the agent starts, and a pin that cannot be driven stops warden before
  // anything is lit (unless pins-partial lets the rest go on). On the embedded database the pins
  // are claimed at once; with a server, once the first read has been applied.
  bool startDriver() {
    if (options_.pinMap.empty()) return true;
    readiness_.conditionIs(kPinsCondition);
    return !options_.database.url.empty() || claimPins();
  }

  bool claimPins() {
    try {
      Drive::DriverOptions driverOptions;
      driverOptions.partial = options_.pinsPartial;
      driver_ = std::make_unique<Drive::PinDriver>(
          std::move(*pinMap_), session_->pins(), session_->loop(),
          [this](std::string const& line) { log_.warning(line); }, driverOptions);
    } catch (Drive::DriveError const& error) {
      log_.error("pins that cannot be driven (pins-partial drives the rest): " +
                 std::string(error.what()));
      startFailure_ = exitStatusOf(error);
      return false;
    }
    pinMap_.reset();
    readiness_.conditionMet(kPinsCondition);
    return true;
  }

  // Claimed before the first read, every pin would start dark and a lit one blink on restart:
  // claimed now, each starts as the agent shows it, as `warden drive` starts its pins.
  void firstReadApplied() {
    if (pinMap_ && !claimPins()) {
      status_ = startFailure_;
      session_->loop().stop();
      return;
    }
    readiness_.conditionMet(kDatabaseCondition);
  }

  // Follows the server once the agent listens to its directories; a server that is not there
  // yet is retried, and readiness waits for it.
  bool startDatabase() {
    if (options_.database.url.empty()) return true;
    std::string error;
    database_ = ServerDatabase::serverDatabaseIs(
        options_.database, *session_, [this](std::string const& line) { log_.database(line); },
        error);
    if (!database_) {
      log_.error("database: " + error);
      startFailure_ = kExitWrongInput;
      return false;
    }
    readiness_.conditionIs(kDatabaseCondition);
    database_->stateHandlerIs([this] {
      if (http_) http_->databaseLinkIs(database_->state() == "connected");
      if (readiness_.isReady()) updateStatus();
    });
    database_->start();
    database_->whenSynced([this] { firstReadApplied(); });
    return true;
  }

  bool startHttp() {
    if (options_.httpAddress.empty()) return true;
    try {
      http_ = std::make_unique<Http::PanelHttp>(
          Http::PanelFeed{options_.agentName, session_->loop(), session_->pins(),
                          &session_->mappings(), &session_->leds(),
                          [this] { return databaseState(); }, session_->startTime()},
          options_.httpAddress, options_.httpAllowRemote,
          [this](std::string const& line) { log_.warning(line); });
    } catch (std::exception const& error) {
      log_.error(error.what());
      return false;
    }
    http_->driverIs(driver_.get());
    if (database_) {
      http_->databaseCountersIs([this] {
        Statedb::Redis::Mirror::Counters const& counters = database_->backend().mirror().counters();
        return Http::DatabaseCounters{counters.resyncs, counters.resyncSeconds,
                                      counters.lastResyncSeconds, counters.refusedRows};
      });
    }
    log_.notice("panel at " + http_->url());
    return true;
  }

  // The link logs a loss and its recovery once each; a loss is worth a warning.
  void becomeReady() {
    log_.info("ready");
    updateStatus();
    notifier_.ready();
  }

  void startTimers() {
    if (std::optional<double> const interval = SystemdNotifier::watchdogPingInterval()) {
      watchdog_.emplace(session_->loop(), *interval, [this] { notifier_.watchdog(); });
    }
    statusTimer_.emplace(session_->loop(), kStatusInterval, [this] {
      updateStatus();
      // Nothing in a service reads the agent's records back: they are printed, not kept.
      setup_.traces().forgetBefore(setup_.traces().end());
    });
  }

  void updateStatus() {
    std::size_t const leds = session_->mappings().gpioLeds().size();
    Zel::Dir const& pins = session_->pins();
    // The pin directory also holds the agent's per-LED output directory.
    std::size_t const pinCount = pins.entryCount() - (pins.entries().contains("ledSystem") ? 1 : 0);
    std::string const driven = driver_ ? "; " + Drive::driverSummary(*driver_) : "";
    notifier_.status(std::to_string(leds) + " LEDs mapped, " + std::to_string(pinCount) + " pins" +
                     driven + "; database " + databaseState());
  }

  std::string databaseState() const {
    if (!database_) return options_.database.url.empty() ? "embedded" : options_.database.url;
    return database_->endpoint().describe() + " " + database_->state();
  }

  void onSignal(int signal) {
    if (signal == SIGHUP) {
      reload();
    } else if (signal == SIGUSR1) {
      stall();
    } else if (signal == SIGUSR2) {
      lampTest();
    } else {
      stop(signal);
    }
  }

  // The loop ends; then the pin driver shows its stop pattern and the process exits cleanly.
  void stop(int signal) {
    notifier_.stopping();
    log_.notice(std::string("stopping on ") + signalName(signal));
    session_->loop().stop();
  }

  // Only the trace levels and the lamp test's length change in a running agent: the plug-in, the
  // agent's name, its cell, its database and its pins are what the agent was started with, and a
  // restart applies them.
  void reload() {
    std::optional<Options> const reloaded =
        reload_.reload(log_, "trace levels and lamp-test-seconds");
    if (!reloaded) return;
    TraceCollector& traces = setup_.traces();
    traces.reset();
    for (auto const& [facility, levels] : reloaded->traces) {
      traces.printedLevelsIs(facility, levels);
    }
    options_.lampTestSeconds = reloaded->lampTestSeconds;
  }

  // Lights every mapped pin, then shows what the agent shows by then; the agent's own pin
  // configuration is not written, so nothing else that follows the pins sees the test.
  void lampTest() {
    if (pinMap_) return log_.warning("SIGUSR2: no lamp test before the pins are claimed");
    if (!driver_) return log_.warning("SIGUSR2: a lamp test needs a pin map (pins = \"FILE\")");
    std::ostringstream line;
    line << "lamp test for " << options_.lampTestSeconds << " s";
    log_.notice(line.str());
    driver_->lampTest(options_.lampTestSeconds);
  }

  void stall() {
    double const seconds = stallSeconds();
    log_.warning("stalling the activity loop for " + std::to_string(seconds) + " s (" +
                 kStallVariable + ")");
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  }

  Options options_;
  ServiceLog& log_;
  RunSetup setup_;
  SystemdNotifier notifier_;
  Readiness readiness_;
  ConfigReload reload_;
  std::optional<Session> session_;
  std::optional<Drive::PinMap> pinMap_;  // read and checked, not claimed yet
  std::unique_ptr<Drive::PinDriver> driver_;
  std::unique_ptr<ServerDatabase> database_;
  std::unique_ptr<SignalWatch> signals_;
  std::unique_ptr<Http::PanelHttp> http_;
  std::optional<PeriodicTimer> watchdog_;
  std::optional<PeriodicTimer> statusTimer_;
  int startFailure_ = kExitFailed;  // the exit status when the start fails
  int status_ = kExitDone;          // the exit status once the loop has run
};

}  // namespace

int runServe(std::vector<std::string> const& commandLine) {
  ServiceLog log(std::cerr, standardErrorIsJournal());
  ParsedOptions const parsed = loadServiceOptions(commandLine);
  if (!parsed.error.empty()) {
    log.error(parsed.error);
    return kExitWrongInput;
  }
  int status = kExitDone;
  std::optional<ServiceInputs> inputs =
      checkServiceInputs(commandLine, parsed.options, log, status);
  if (!inputs) return status;
  return ServeRun(commandLine, parsed.options, std::move(inputs->pinMap), log).run();
}

}  // namespace Host
