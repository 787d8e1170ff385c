#include "host/drive/DriveRun.h"

#include <iostream>
#include <memory>
#include <optional>

#include "host/http/PanelHttp.h"
#include "host/pins/DriverReport.h"
#include "host/run/ExitStatus.h"
#include "host/service/Service.h"
#include "host/service/ServiceInputs.h"
#include "host/service/ServiceLog.h"
#include "platform/redis/PinTableFollower.h"
#include "platform/zel/ActivityManagerScope.h"

namespace Host {

namespace {

class DriveRun {
 public:
  DriveRun(std::vector<std::string> commandLine, Options options, Drive::PinMap map,
           Statedb::Redis::Endpoint endpoint, ServiceLog& log)
      : options_(std::move(options)),
        log_(log),
        map_(std::move(map)),
        pins_(Zel::Dir::dirIs("pins")),
        follower_(*loop_, std::move(endpoint), {}, *pins_,
                  [this](Statedb::Redis::LogRecord const& record) { log_.database(record); }),
        // Only the lamp test's length changes in a running driver: the map, its pins and the
        // server are what it claimed and follows, and a restart applies them.
        service_(*loop_, std::move(commandLine), options_, log_, "lamp-test-seconds",
                 {[this] { return statusLine(); }, {}, {}}) {}

  int run() {
    log_.notice("driving the pins of " + options_.pinMap + " from " +
                follower_.link().endpoint().describe());
    if (!service_.panelStart({"drive " + options_.pinMap, *loop_, *pins_, nullptr, nullptr,
                              [this] { return databaseState(); }, loop_->currentTime()})) {
      return kExitFailed;
    }
    follower_.upHandlerIs([this](bool up) {
      if (Http::PanelHttp* panel = service_.panel()) panel->databaseLinkIs(up);
      if (service_.driver()) service_.statusUpdate();
    });
    follower_.start();
    // Claimed once the table is read, so that every line starts as the agent last showed it.
    follower_.whenSynced([this] { claim(); });
    loop_->run();
    return service_.finish();
  }

 private:
  void claim() {
    if (!service_.claimPins(std::move(map_), *pins_)) return service_.failed(service_.status());
    service_.ready();
    service_.timersStart();
  }

  std::string databaseState() {
    return follower_.link().endpoint().describe() +
           (follower_.isUp() ? " connected" : " lost, reconnecting");
  }

  std::string statusLine() {
    return Drive::driverSummary(*service_.driver()) + "; database " + databaseState();
  }

  Options options_;
  ServiceLog& log_;
  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::monotonic};
  Drive::PinMap map_;
  Zel::Ptr<Zel::Dir> pins_;
  Statedb::Redis::PinTableFollower follower_;
  Service service_;
};

}  // namespace

int runDrive(std::vector<std::string> const& commandLine) {
  ServiceLog log(std::cerr, standardErrorIsJournal());
  // A wrong URL, map or device is refused before anything connects or is driven.
  int status = kExitDone;
  std::optional<ServiceInputs> inputs = readServiceInputs(commandLine, log, status);
  if (!inputs) return status;
  return DriveRun(commandLine, std::move(inputs->options), std::move(*inputs->pinMap),
                  std::move(*inputs->endpoint), log)
      .run();
}

}  // namespace Host
