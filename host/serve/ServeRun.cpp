#include "host/serve/ServeRun.h"

#include <iostream>
#include <memory>
#include <optional>

#include "host/http/PanelHttp.h"
#include "host/pins/DriverReport.h"
#include "host/run/AgentProfile.h"
#include "host/run/ExitStatus.h"
#include "host/run/RunSetup.h"
#include "host/run/ServerDatabase.h"
#include "host/run/Session.h"
#include "host/serve/Readiness.h"
#include "host/service/Service.h"
#include "host/service/ServiceInputs.h"
#include "host/service/ServiceLog.h"

namespace Host {

namespace {

// Readiness conditions: the agent's mounts, with a pin map the pins claimed, and with a database
// server its first resync applied (and the pins written in reaction in the pin table).
constexpr char kMountsCondition[] = "mounts";
constexpr char kPinsCondition[] = "pins";
constexpr char kDatabaseCondition[] = "database";

class ServeRun {
 public:
  ServeRun(std::vector<std::string> commandLine, Options options,
           std::optional<Drive::PinMap> pinMap, ServiceLog& log)
      : commandLine_(std::move(commandLine)),
        options_(std::move(options)),
        log_(log),
        setup_(options_, log_.traceStream()),
        readiness_([this] { service_->ready(); }),
        pinMap_(std::move(pinMap)) {}

  int run() {
    if (!setup_.hasPlugin()) {
      log_.error(setup_.loadError());
      return kExitWrongInput;
    }
    setup_.traceLevelsIs(0);
    session_.emplace(Zel::ActivityManager::TimeSource::monotonic,
                     [this](std::string const& text) { log_.error("the agent raised: " + text); });
    setup_.traces().epochIs(session_->startTime());
    startService();
    log_.notice("serving agent '" + options_.agentName + "' from " + setup_.plugin().path() +
                " on cell " + std::to_string(options_.cell) + ", database " + databaseState());
    if (!startDriver() || !startAgent() || !startDatabase() || !startHttp()) return startFailure_;
    readiness_.waitingDone();
    service_->timersStart();
    session_->loop().run();
    return service_->finish();
  }

 private:
  void startService() {
    Service::Hooks hooks;
    hooks.status = [this] { return statusLine(); };
    // Only the trace levels and the lamp test's length change in a running agent: the plug-in,
    // the agent's name, its cell, its database and its pins are what the agent was started with.
    hooks.reloaded = [this](Options const& reloaded) {
      TraceCollector& traces = setup_.traces();
      traces.reset();
      for (auto const& [facility, levels] : reloaded.traces) {
        traces.printedLevelsIs(facility, levels);
      }
    };
    // Nothing in a service reads the agent's records back: they are printed, not kept.
    hooks.everyStatus = [this] { setup_.traces().forgetBefore(setup_.traces().end()); };
    service_.emplace(session_->loop(), commandLine_, options_, log_,
                     "trace levels and lamp-test-seconds", std::move(hooks));
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
    if (!options_.database.url.empty()) return true;
    if (claimPins()) return true;
    startFailure_ = service_->status();
    return false;
  }

  bool claimPins() {
    Drive::PinMap map = std::move(*pinMap_);
    pinMap_.reset();
    if (!service_->claimPins(std::move(map), session_->pins())) return false;
    readiness_.conditionMet(kPinsCondition);
    return true;
  }

  // Claimed before the first read, every pin would start dark and a lit one blink on restart:
  // claimed now, each starts as the agent shows it, as `warden drive` starts its pins.
  void firstReadApplied() {
    if (pinMap_ && !claimPins()) return service_->failed(service_->status());
    readiness_.conditionMet(kDatabaseCondition);
  }

  // Follows the server once the agent listens to its directories; a server that is not there
  // yet is retried, and readiness waits for it.
  bool startDatabase() {
    if (options_.database.url.empty()) return true;
    std::string error;
    database_ = ServerDatabase::serverDatabaseIs(
        options_.database, *session_,
        [this](Statedb::Redis::LogRecord const& record) { log_.database(record); }, error);
    if (!database_) {
      log_.error("database: " + error);
      startFailure_ = kExitWrongInput;
      return false;
    }
    readiness_.conditionIs(kDatabaseCondition);
    database_->stateHandlerIs([this] {
      if (Http::PanelHttp* panel = service_->panel()) {
        panel->databaseLinkIs(database_->state() == "connected");
      }
      if (readiness_.isReady()) service_->statusUpdate();
    });
    database_->start();
    database_->whenSynced([this] { firstReadApplied(); });
    return true;
  }

  bool startHttp() {
    if (!service_->panelStart({options_.agentName, session_->loop(), session_->pins(),
                               &session_->mappings(), &session_->leds(),
                               [this] { return databaseState(); }, session_->startTime()})) {
      return false;
    }
    if (database_ && service_->panel()) {
      service_->panel()->databaseCountersIs([this] {
        Statedb::Redis::Mirror::Counters const& counters = database_->backend().mirror().counters();
        return Http::DatabaseCounters{counters.resyncs, counters.resyncSeconds,
                                      counters.lastResyncSeconds, counters.refusedRows};
      });
    }
    return true;
  }

  std::string statusLine() const {
    std::size_t const leds = session_->mappings().gpioLeds().size();
    Zel::Dir const& pins = session_->pins();
    // The pin directory also holds the agent's per-LED output directory.
    std::size_t const pinCount =
        pins.entryCount() - (pins.entries().contains(kAgentOutputEntry) ? 1 : 0);
    Drive::PinDriver const* driver = service_->driver();
    std::string const driven = driver ? "; " + Drive::driverSummary(*driver) : "";
    return std::to_string(leds) + " LEDs mapped, " + std::to_string(pinCount) + " pins" + driven +
           "; database " + databaseState();
  }

  std::string databaseState() const {
    if (!database_) return options_.database.url.empty() ? "embedded" : options_.database.url;
    return database_->endpoint().describe() + " " + database_->state();
  }

  std::vector<std::string> commandLine_;
  Options options_;
  ServiceLog& log_;
  RunSetup setup_;
  Readiness readiness_;
  // The members go in reverse: the service with the panel and the pins, the database, then the
  // agent's session, whose last records still reach the host's sink.
  std::optional<Session> session_;
  std::optional<Drive::PinMap> pinMap_;  // read and checked, not claimed yet
  std::unique_ptr<ServerDatabase> database_;
  std::optional<Service> service_;
  int startFailure_ = kExitFailed;  // the exit status when the start fails
};

}  // namespace

int runServe(std::vector<std::string> const& commandLine) {
  ServiceLog log(std::cerr, standardErrorIsJournal());
  int status = kExitDone;
  std::optional<ServiceInputs> inputs = readServiceInputs(commandLine, log, status);
  if (!inputs) return status;
  return ServeRun(commandLine, std::move(inputs->options), std::move(inputs->pinMap), log).run();
}

}  // namespace Host
