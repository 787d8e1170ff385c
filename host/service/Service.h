// What both services do alike around their own work: they take the signals a service manager
// sends from the activity loop (SIGTERM and SIGINT stop, SIGHUP reloads, SIGUSR2 runs a lamp
// test), claim the pins of their map, tell the manager when they are ready, how they are doing
// and that their loop is alive, and stop with the map's stop pattern. A service says what its
// status line holds and what else a reload applies; the rest is here, said once.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/http/PanelHttp.h"
#include "host/pins/PinDriver.h"
#include "host/pins/PinMap.h"
#include "host/run/Options.h"
#include "host/run/SignalWatch.h"
#include "host/service/ConfigReload.h"
#include "host/service/ServiceLog.h"
#include "host/service/SystemdNotifier.h"
#include "platform/zel/ActivityManager.h"
#include "platform/zel/Dir.h"
#include "platform/zel/Timer.h"

namespace Host {

class Service {
 public:
  struct Hooks {
    std::function<std::string()> status;  // the STATUS= line
    // Applies what a reload changes besides the lamp test's length; may be empty.
    std::function<void(Options const& reloaded)> reloaded;
    // Work to do with each status update; may be empty.
    std::function<void()> everyStatus;
  };

  // `options` is the service's own, kept up to date by reloads; `reloadApplies` says what a
  // reload changes at once ("lamp-test-seconds"). The configuration file is read now, to know
  // at a reload what changed in it.
  Service(Zel::ActivityManager& loop, std::vector<std::string> commandLine, Options& options,
          ServiceLog& log, std::string reloadApplies, Hooks hooks);
  Service(Service const&) = delete;
  Service& operator=(Service const&) = delete;

  // Claims the pins `map` names on `pins`. False once a refusal is logged; the exit status is
  // then the refusal's.
  bool claimPins(Drive::PinMap map, Zel::Dir& pins);
  Drive::PinDriver* driver() const noexcept { return driver_.get(); }

  // Serves the panel on the options' address, if any, showing the driver once it claims. False
  // once a failure to listen is logged.
  bool panelStart(Http::PanelFeed feed);
  Http::PanelHttp* panel() const noexcept { return panel_.get(); }

  // Pings the watchdog, when the manager asks for pings, and updates the status line every few
  // seconds from now on, both from the loop: a loop that is stuck stops them too.
  void timersStart();
  // Logs "ready", updates the status line and tells the manager.
  void ready();
  void statusUpdate();

  // Stops the loop; the service then exits with `status`.
  void failed(int status);
  // The exit status so far: a refused claim's, or that of failed().
  int status() const noexcept { return status_; }
  // After the loop has stopped: the map's stop pattern, "stopped", and the exit status.
  int finish();

 private:
  void onSignal(int signal);
  void reload();
  void lampTest();

  Zel::ActivityManager& loop_;
  Options& options_;
  ServiceLog& log_;
  ConfigReload reload_;
  std::string reloadApplies_;
  Hooks hooks_;
  SystemdNotifier notifier_;
  // Declared before what reaches it, so that the timers and the signal watch go first.
  std::unique_ptr<Drive::PinDriver> driver_;
  SignalWatch signals_;
  // On the loop's own clock: a loop that is stuck stops the pings, as the watchdog must see.
  Zel::Timer watchdog_;
  Zel::Timer statusTimer_;
  std::unique_ptr<Http::PanelHttp> panel_;  // last: it shows the driver, so it goes first
  int status_ = 0;
};

}  // namespace Host
