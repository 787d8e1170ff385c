// The panel's live feed: what changed since the last event, as one event per loop turn that
// changed something and at most one per `minInterval`. A pin change only marks the pin's slot
// (a pin that changes twice is sent once, with its last value), so an event costs the pins that
// changed, not the panel, and the changes between two events cost no wake of their own. LEDs
// that come or go are looked at with the next event; what changes rarely without a notification
// here (LED settings, the database link, the driver's faults) is compared at a slower pace and
// sent whole when it differs. Nothing is collected while nobody watches.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/http/PanelFeed.h"
#include "platform/model/PinDirectoryFollower.h"
#include "platform/zel/Timer.h"
#include "platform/zel/WeakPtr.h"

namespace Drive {
class PinDriver;
}

namespace Http {

class PanelEvents final : private Hardware::Gpio::PinDirectoryFollower::Owner {
 public:
  struct Settings {
    double minInterval = 1.0 / 25;  // at most 25 events a second
    double slowCheck = 0.5;         // LEDs, database and driver faults compared this often
  };
  using Publish = std::function<void(std::string event)>;
  using Watched = std::function<bool()>;

  PanelEvents(PanelFeed const& feed, Watched watched, Publish publish, Settings settings);
  PanelEvents(PanelFeed const& feed, Watched watched, Publish publish)
      : PanelEvents(feed, std::move(watched), std::move(publish), Settings{}) {}
  ~PanelEvents() override;

  void driverIs(Drive::PinDriver const* driver) { driver_ = driver; }
  // A viewer arrived: the slow checks start, from what the first viewer's picture shows.
  void viewerArrived();
  std::uint64_t eventCount() const noexcept { return events_; }

 private:
  using Pin = Hardware::Gpio::CorvelPinConfig;

  Tag onPinArrived(std::string const& name, Pin const& pin) override;
  void onPinValue(Tag, std::string const& name, Pin const& pin) override;
  void onPinLeft(std::string const& name) override;
  struct PinSlot {
    std::optional<std::uint32_t> value;
    bool dirty = false;
  };
  class MappingsReactor;

  void changed(std::string const& pin, std::optional<std::uint32_t> value);
  void ledsMayHaveChanged();
  void schedule();
  void turnEnded();
  void flush();
  void slowCheck();
  std::string driverState() const;

  PanelFeed const& feed_;
  Watched watched_;
  Publish publish_;
  Settings settings_;
  Drive::PinDriver const* driver_ = nullptr;
  // Every pin seen while watched keeps its slot, so that marking one allocates nothing; slots
  // are never erased, which keeps the addresses in dirty_ valid.
  std::unordered_map<std::string, PinSlot> pins_;
  std::vector<std::pair<std::string const*, PinSlot*>> dirty_;
  bool marksStale_ = false;  // a pin changed unmarked while marks waited: nobody watched
  bool ledsStale_ = false;   // the mappings changed: the next event compares the LEDs
  bool ledsPending_ = false;
  bool dbPending_ = false;
  bool driverPending_ = false;
  std::string lastLeds_;
  std::string lastDb_;
  std::string lastDriver_;
  bool turnQueued_ = false;
  double lastEvent_ = -1e9;
  std::uint64_t events_ = 0;
  Zel::Timer sendTimer_;
  Zel::Timer checkTimer_;
  Zel::Ptr<MappingsReactor> mappingsReactor_;
  // Its first notifications come while it is built and find the rest ready.
  std::optional<Hardware::Gpio::PinDirectoryFollower> follower_;
  Zel::WeakPtrFactory<PanelEvents> weak_{this};  // last: queued turn-end work finds nobody first
};

}  // namespace Http
