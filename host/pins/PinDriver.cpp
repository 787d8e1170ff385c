#include "host/pins/PinDriver.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

#include "host/pins/FileBackend.h"
#include "host/pins/GpiodBackend.h"
#include "host/pins/LedClassBackend.h"
#include "host/pins/LibGpiodLines.h"
#include "platform/model/CorvelPinConfig.h"

namespace Drive {

using Hardware::Gpio::CorvelPinConfig;

namespace {

// Claims and backends are kept in one slot per kind of pin, so that a pin's kind finds its
// backend without a search.
constexpr Backend kBackends[] = {Backend::gpiod, Backend::led, Backend::file};
constexpr std::size_t kBackendCount = std::size(kBackends);
constexpr std::size_t slotOf(Backend kind) noexcept {
  return static_cast<std::size_t>(kind);
}
constexpr bool eachKindSitsInItsSlot() {
  for (std::size_t slot = 0; slot < kBackendCount; ++slot) {
    if (slotOf(kBackends[slot]) != slot) return false;
  }
  return true;
}
static_assert(eachKindSitsInItsSlot());
using ClaimsByBackend = std::vector<std::vector<PinClaim>>;

ClaimsByBackend claimsOf(PinMap const& map, std::function<bool(std::size_t)> const& lit) {
  ClaimsByBackend claims(kBackendCount);
  for (std::size_t i = 0; i < map.pins.size(); ++i) {
    claims[slotOf(map.pins[i].backend)].push_back({i, &map.pins[i], lit(i)});
  }
  return claims;
}

std::unique_ptr<PinBackend> backendOf(Backend kind, PinMap const& map,
                                      DriverOptions const& options) {
  switch (kind) {
    case Backend::gpiod:
      return std::make_unique<GpiodBackend>(options.gpioLines ? options.gpioLines()
                                                              : libgpiodLines());
    case Backend::led:
      return std::make_unique<LedClassBackend>(map.sysfsRoot);
    case Backend::file:
      return std::make_unique<FileBackend>(map.valuesFile);
  }
  return nullptr;
}

// A backend for each kind of pin that the map names.
std::vector<std::unique_ptr<PinBackend>> backendsFor(PinMap const& map,
                                                     DriverOptions const& options,
                                                     ClaimsByBackend const& claims) {
  std::vector<std::unique_ptr<PinBackend>> backends(kBackendCount);
  for (Backend kind : kBackends) {
    if (!claims[slotOf(kind)].empty()) backends[slotOf(kind)] = backendOf(kind, map, options);
  }
  return backends;
}

// In map order, as a reader of the map goes through it.
std::vector<PinFault> checked(std::vector<std::unique_ptr<PinBackend>> const& backends,
                              ClaimsByBackend const& claims) {
  std::vector<PinFault> faults;
  for (std::size_t b = 0; b < backends.size(); ++b) {
    if (!backends[b]) continue;
    auto const failed = backends[b]->check(claims[b]);
    faults.insert(faults.end(), failed.begin(), failed.end());
  }
  std::sort(faults.begin(), faults.end(),
            [](PinFault const& x, PinFault const& y) { return x.pin < y.pin; });
  return faults;
}

// Failures that a later try may not meet: the line is there but held, or the system short of
// something for now. Anything else (no such device, no permission, a value the device refuses)
// stays until the map or the hardware changes.
bool isTransient(int error) {
  switch (error) {
    case EBUSY:
    case EAGAIN:
    case EINTR:
    case ETIMEDOUT:
    case EMFILE:
    case ENFILE:
    case ENOMEM:
      return true;
    default:
      return false;
  }
}

std::string missingLine(PinMap const& map, PinFault const& fault) {
  PinAddress const& address = map.pins[fault.pin];
  return map.where(address) + ": pin '" + address.pin + "': " + fault.text;
}

DriveError refusal(PinMap const& map, std::vector<PinFault> const& faults) {
  std::string text;
  bool transient = true;
  for (PinFault const& fault : faults) {
    text += (text.empty() ? "" : "\n") + missingLine(map, fault);
    transient = transient && isTransient(fault.error);
  }
  return DriveError(text, transient);
}

}  // namespace

PinDriver::PinDriver(PinMap map, Zel::Dir& pins, Zel::ActivityManager& loop, Log log,
                     DriverOptions options)
    : map_(std::move(map)),
      dir_(&pins),
      loop_(loop),
      log_(std::move(log)),
      options_(std::move(options)),
      pins_(map_.pins.size()),
      lampTimer_(loop, [this] { lampTestEnd(); }) {
  for (std::size_t i = 0; i < pins_.size(); ++i) pins_[i].address = &map_.pins[i];
  claimAll();
  // The base is private: std::optional could not convert to it on its own.
  follower_.emplace(pins, static_cast<Owner&>(*this));
}

PinDriver::~PinDriver() {
  follower_.reset();
}

void PinDriver::check(PinMap const& map, DriverOptions const& options) {
  auto const claims = claimsOf(map, [](std::size_t) { return false; });
  auto const backends = backendsFor(map, options, claims);
  std::vector<PinFault> const faults = checked(backends, claims);
  if (!faults.empty()) throw refusal(map, faults);
}

void PinDriver::claimAll() {
  auto claims = claimsOf(map_, [this](std::size_t i) {
    auto const entity = Zel::ptrCast<CorvelPinConfig>(dir_->entityRef(map_.pins[i].pin));
    return entity && entity->value() != 0;
  });
  for (auto const& backend : claims) {
    for (PinClaim const& claim : backend) pins_[claim.pin].wanted = claim.lit;
  }
  backends_ = backendsFor(map_, options_, claims);
  // Everything is checked before anything is claimed, so that a refused start leaves the board
  // as it was rather than darkening the LEDs that are there.
  std::vector<PinFault> faults = checked(backends_, claims);
  if (!faults.empty() && !options_.partial) throw refusal(map_, faults);
  std::vector<bool> refused(pins_.size(), false);
  for (PinFault const& fault : faults) refused[fault.pin] = true;
  for (std::size_t b = 0; b < backends_.size(); ++b) {
    std::erase_if(claims[b], [&refused](PinClaim const& claim) { return refused[claim.pin]; });
    if (!backends_[b] || claims[b].empty()) continue;
    for (PinClaim const& claim : claims[b]) {
      pins_[claim.pin].claimed = true;
      pins_[claim.pin].shown = claim.lit;
    }
    // What went between the check and the claim (a line taken meanwhile).
    auto const failed = backends_[b]->claim(claims[b]);
    faults.insert(faults.end(), failed.begin(), failed.end());
  }
  std::sort(faults.begin(), faults.end(),
            [](PinFault const& x, PinFault const& y) { return x.pin < y.pin; });
  for (PinFault const& fault : faults) {
    Pin& pin = pins_[fault.pin];
    pin.claimed = false;
    pin.shown.reset();
    errorIs(fault.pin, fault.text);
    missing_.push_back(missingLine(map_, fault));
  }
  if (missing_.empty()) return;
  if (!options_.partial) throw refusal(map_, faults);
  for (std::string const& line : missing_) log_("pins: not driven: " + line);
}

PinDriver::Pin const* PinDriver::find(std::string const& name) const {
  auto const found = map_.index.find(name);
  return found == map_.index.end() ? nullptr : &pins_[found->second];
}

PinDriver::Tag PinDriver::onPinArrived(std::string const& name, PinConfig const& pin) {
  auto const mapped = map_.index.find(name);
  if (mapped != map_.index.end()) {
    onValue(mapped->second, pin.value() != 0);
    return mapped->second;
  }
  if (warnedUnmapped_.insert(name).second) {
    log_("pins: pin '" + name + "' is not in " + map_.source + "; it is not driven");
    if (faultListener_) faultListener_(name, true);
  }
  return kUnmapped;
}

void PinDriver::onPinValue(Tag pin, std::string const&, PinConfig const& config) {
  if (pin != kUnmapped) onValue(pin, config.value() != 0);
}

// A pin whose configuration went away is no longer lit by anyone.
void PinDriver::onPinLeft(std::string const& name) {
  auto const mapped = map_.index.find(name);
  if (mapped != map_.index.end()) onValue(mapped->second, false);
}

void PinDriver::onValue(std::size_t pin, bool lit) {
  pins_[pin].wanted = lit;
  if (!options_.latch) {
    if (pins_[pin].claimed && !lampOn_) writeNow({{pin, lit}});
    return;
  }
  mark(pin);
}

void PinDriver::mark(std::size_t pin) {
  if (!pins_[pin].dirty) {
    pins_[pin].dirty = true;
    dirty_.push_back(pin);
  }
  if (latchQueued_) return;
  latchQueued_ = true;
  loop_.turnEndTaskIs([driver = weak_.weakPtr()] {
    if (driver) driver->latch();
  });
}

void PinDriver::markAll() {
  for (std::size_t i = 0; i < pins_.size(); ++i) mark(i);
}

void PinDriver::latch() {
  latchQueued_ = false;
  // Kept from latch to latch for its capacity: a flashing board latches hundreds of times a
  // second and should not allocate each time.
  std::vector<PinWrite> writes = std::move(latchWrites_);
  writes.clear();
  for (std::size_t pin : dirty_) {
    Pin& p = pins_[pin];
    p.dirty = false;
    bool const lit = lampOn_ || p.wanted;
    if (p.claimed && p.shown != lit) writes.push_back({pin, lit});
  }
  dirty_.clear();
  writeNow(writes);
  latchWrites_ = std::move(writes);
}

void PinDriver::writeNow(std::vector<PinWrite> const& writes) {
  if (writes.empty()) return;
  // Grouped by backend, so that each can make one write of everything that changed.
  std::vector<std::vector<PinWrite>> perBackend = std::move(perBackend_);
  perBackend.resize(backends_.size());
  for (auto& group : perBackend) group.clear();
  for (PinWrite const& write : writes) {
    std::size_t const backend = slotOf(pins_[write.pin].address->backend);
    perBackend[backend].push_back(write);
    ++counters_.writes[backend];
    pins_[write.pin].shown = write.lit;
    if (!pins_[write.pin].error.empty()) errorIs(write.pin, {});
  }
  writes_ += writes.size();
  for (std::size_t b = 0; b < backends_.size(); ++b) {
    if (perBackend[b].empty()) continue;
    for (PinFault const& failed : backends_[b]->write(perBackend[b])) fault(failed);
  }
  perBackend_ = std::move(perBackend);
}

void PinDriver::fault(PinFault const& failed) {
  Pin& pin = pins_[failed.pin];
  ++counters_.writeErrors[slotOf(pin.address->backend)];
  // The hardware holds what it held; unknown, so that the next latch that meets the pin writes it.
  pin.shown.reset();
  errorIs(failed.pin, failed.text);
  if (!pin.dirty) {
    pin.dirty = true;
    dirty_.push_back(failed.pin);
  }
  for (int kind : pin.errorsReported) {
    if (kind == failed.error) return;
  }
  pin.errorsReported.push_back(failed.error);
  log_("pins: " + map_.where(*pin.address) + ": pin '" + pin.address->pin + "': " + failed.text);
}

// Keeps the count of failing pins as it goes, so that a view asking at every frame costs nothing.
void PinDriver::errorIs(std::size_t index, std::string text) {
  Pin& pin = pins_[index];
  bool const was = !pin.error.empty();
  pin.error = std::move(text);
  bool const is = !pin.error.empty();
  if (was == is) return;
  failing_ = is ? failing_ + 1 : failing_ - 1;
  if (faultListener_) faultListener_(pin.address->pin, is);
}

void PinDriver::lampTest(double seconds) {
  lampOn_ = true;
  ++counters_.lampTests;
  lampTimer_.startIn(seconds);
  markAll();
}

bool PinDriver::lampTestRunning() const noexcept {
  return lampOn_;
}

void PinDriver::lampTestEnd() {
  lampOn_ = false;
  markAll();
}

void PinDriver::stop() {
  lampTimer_.stop();
  lampOn_ = false;
  follower_.reset();
  if (map_.onStop == StopPattern::leave) return;
  bool const lit = map_.onStop == StopPattern::lit;
  std::vector<PinWrite> writes;
  for (std::size_t i = 0; i < pins_.size(); ++i) {
    if (pins_[i].claimed && pins_[i].shown != lit) writes.push_back({i, lit});
  }
  writeNow(writes);
}

}  // namespace Drive
