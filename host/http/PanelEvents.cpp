#include "host/http/PanelEvents.h"

#include <cstdio>

#include "host/http/PanelJson.h"
#include "host/pins/PinDriver.h"
#include "platform/zel/Allocate.h"

namespace Http {

class PanelEvents::MappingsReactor final
    : public Hardware::Gpio::GpioLedSystemConfigDir::NotifieeConst {
 public:
  MappingsReactor(Zel::Ptr<Hardware::Gpio::GpioLedSystemConfigDir const> const& mappings,
                  Zel::WeakPtr<PanelEvents> owner)
      : NotifieeConst(mappings), owner_(std::move(owner)) {}
  void onGpioLeds(Zel::Name) override { onGpioLeds(); }
  void onGpioLeds() override {
    if (owner_) owner_->ledsMayHaveChanged();
  }

 private:
  Zel::WeakPtr<PanelEvents> owner_;
};

PanelEvents::PanelEvents(PanelFeed const& feed, Watched watched, Publish publish, Settings settings)
    : feed_(feed),
      watched_(std::move(watched)),
      publish_(std::move(publish)),
      settings_(settings),
      sendTimer_(feed.loop, [this] { flush(); }),
      checkTimer_(feed.loop, [this] { slowCheck(); }) {
  if (feed.mappings) {
    mappingsReactor_ = Zel::allocate<MappingsReactor>(
        Zel::Ptr<Hardware::Gpio::GpioLedSystemConfigDir const>(feed.mappings), weak_.weakPtr());
  }
  follower_.emplace(feed.pins, static_cast<Owner&>(*this));
}

PanelEvents::~PanelEvents() {
  if (mappingsReactor_) mappingsReactor_->notifierIs(nullptr);
  follower_.reset();
}

void PanelEvents::viewerArrived() {
  // Marks left by viewers who have gone missed the changes made while nobody watched: the
  // newcomer's picture has the pins as they are, and those marks could only send stale values.
  if (marksStale_) {
    for (auto& [name, slot] : dirty_) slot->dirty = false;
    dirty_.clear();
    marksStale_ = false;
  }
  // Viewers already here may not have seen the latest state yet: the running checks go on and
  // send it to everyone, the newcomer included.
  if (checkTimer_.isRunning()) return;
  // The first viewer's picture shows the state as it is now: the checks compare against that.
  lastLeds_ = ledsJson(feed_);
  lastDb_ = feed_.databaseState ? feed_.databaseState() : "";
  lastDriver_ = driverState();
  if (!checkTimer_.isRunning()) checkTimer_.startAt(feed_.loop.currentTime() + settings_.slowCheck);
}

PanelEvents::Tag PanelEvents::onPinArrived(std::string const& name, Pin const& pin) {
  changed(name, pin.value());
  return 0;
}

void PanelEvents::onPinValue(Tag, std::string const& name, Pin const& pin) {
  changed(name, pin.value());
}

void PanelEvents::onPinLeft(std::string const& name) {
  changed(name, std::nullopt);
}

void PanelEvents::changed(std::string const& pin, std::optional<std::uint32_t> value) {
  if (!watched_()) {
    marksStale_ = marksStale_ || !dirty_.empty();
    return;
  }
  auto const [at, added] = pins_.try_emplace(pin);
  at->second.value = value;
  if (!at->second.dirty) {
    at->second.dirty = true;
    dirty_.emplace_back(&at->first, &at->second);
  }
  schedule();
}

void PanelEvents::ledsMayHaveChanged() {
  if (!watched_()) return;
  ledsStale_ = true;
  schedule();
}

void PanelEvents::schedule() {
  if (turnQueued_ || sendTimer_.isRunning()) return;
  turnQueued_ = true;
  // The end of the turn: every pin a flash tick changes is in by then, and goes as one event.
  feed_.loop.turnEndTaskIs([self = weak_.weakPtr()] {
    if (self) self->turnEnded();
  });
}

void PanelEvents::turnEnded() {
  turnQueued_ = false;
  double const next = lastEvent_ + settings_.minInterval;
  if (feed_.loop.currentTime() >= next) {
    flush();
  } else {
    sendTimer_.startAt(next);
  }
}

void PanelEvents::flush() {
  sendTimer_.stop();
  if (ledsStale_) {
    ledsStale_ = false;
    std::string leds = ledsJson(feed_);
    if (leds != lastLeds_) {
      lastLeds_ = std::move(leds);
      ledsPending_ = true;
    }
  }
  if (dirty_.empty() && !ledsPending_ && !dbPending_ && !driverPending_) return;
  lastEvent_ = feed_.loop.currentTime();
  char time[32];
  std::snprintf(time, sizeof time, "%.3f", lastEvent_ - feed_.startTime);
  std::string event = "data: {\"time\":";
  event += time;
  event += ",\"pins\":{";
  bool first = true;
  for (auto& [name, slot] : dirty_) {
    if (!first) event += ",";
    first = false;
    event += jsonString(*name) + ":" + pinValueJson(slot->value);
    slot->dirty = false;
  }
  event += "}";
  if (ledsPending_) event += ",\"leds\":" + lastLeds_;
  if (dbPending_) event += ",\"db\":" + jsonString(lastDb_);
  if (driverPending_) event += ",\"driver\":" + pinsJson(feed_, driver_);
  event += "}\n\n";
  dirty_.clear();
  marksStale_ = false;
  ledsPending_ = dbPending_ = driverPending_ = false;
  ++events_;
  publish_(std::move(event));
}

// Whether any pin's fault changed shows in these counts without a walk over the pins.
std::string PanelEvents::driverState() const {
  if (!driver_) return {};
  std::uint64_t errors = 0;
  for (std::uint64_t count : driver_->counters().writeErrors) errors += count;
  return std::to_string(driver_->failingCount()) + "/" +
         std::to_string(driver_->unmapped().size()) + "/" + std::to_string(errors) + "/" +
         std::to_string(driver_->lampTestRunning());
}

void PanelEvents::slowCheck() {
  if (!watched_()) return;  // started again by the next viewer
  std::string leds = ledsJson(feed_);
  if (leds != lastLeds_) {
    lastLeds_ = std::move(leds);
    ledsPending_ = true;
  }
  std::string db = feed_.databaseState ? feed_.databaseState() : "";
  if (db != lastDb_) {
    lastDb_ = std::move(db);
    dbPending_ = true;
  }
  std::string driver = driverState();
  if (driver != lastDriver_) {
    lastDriver_ = std::move(driver);
    driverPending_ = true;
  }
  if (ledsPending_ || dbPending_ || driverPending_) schedule();
  checkTimer_.startAt(feed_.loop.currentTime() + settings_.slowCheck);
}

}  // namespace Http
