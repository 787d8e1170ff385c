#include "host/live/PinWatcher.h"

#include <utility>
#include <vector>

#include "platform/zel/Allocate.h"

namespace Host {

using Hardware::Gpio::CorvelPinConfig;

class PinWatcher::DirReactor : public Zel::Dir::NotifieeConst {
 public:
  DirReactor(Zel::Ptr<Zel::Dir const> const& dir, PinWatcher* owner)
      : Zel::Dir::NotifieeConst(dir), owner_(owner) {}
  void onEntry(Zel::Name name) override {
    if (owner_) owner_->onEntry(name);
  }
  void onEntry() override {
    if (owner_) owner_->onAllEntries();
  }
  void ownerDel() noexcept { owner_ = nullptr; }

 private:
  PinWatcher* owner_;
};

class PinWatcher::PinReactor : public CorvelPinConfig::NotifieeConst {
 public:
  PinReactor(Zel::Ptr<CorvelPinConfig const> const& pin, PinWatcher* owner)
      : CorvelPinConfig::NotifieeConst(pin), owner_(owner) {}
  void onValue() override {
    if (owner_ && notifier()) owner_->onValue(notifier()->name());
  }
  void ownerDel() noexcept { owner_ = nullptr; }

 private:
  PinWatcher* owner_;
};

PinWatcher::PinWatcher(Zel::Dir& pins, Clock clock, Listener listener)
    : pins_(&pins), clock_(std::move(clock)), listener_(std::move(listener)) {
  dirReactor_ = Zel::allocate<DirReactor>(Zel::Ptr<Zel::Dir const>(pins_), this);
  onAllEntries();
}

PinWatcher::~PinWatcher() {
  for (auto& [name, watched] : watched_) detach(watched);
  dirReactor_->ownerDel();
  dirReactor_->notifierIs(nullptr);
}

void PinWatcher::onEntry(Zel::Name const& name) {
  auto const pin = Zel::ptrCast<CorvelPinConfig>(pins_->entityRef(name));
  std::string const key = name.stdString();
  auto found = watched_.find(key);
  if (!pin) {
    if (found == watched_.end()) return;
    bool const wasShown = found->second.shown.has_value();
    detach(found->second);
    watched_.erase(found);
    if (wasShown && listener_) listener_({key, std::nullopt, clock_()});
    return;
  }
  if (found != watched_.end() && found->second.reactor->notifier() == pin.ptr()) return;
  if (found == watched_.end()) found = watched_.emplace(key, Watched{}).first;
  detach(found->second);
  found->second.reactor = Zel::allocate<PinReactor>(Zel::Ptr<CorvelPinConfig const>(pin), this);
  report(key, found->second, pin->value());
}

void PinWatcher::onAllEntries() {
  std::vector<Zel::Name> names;
  for (auto member : pins_->entries()) names.push_back(member.key);
  for (auto const& [name, watched] : watched_) names.emplace_back(name);
  for (Zel::Name const& name : names) onEntry(name);
}

void PinWatcher::onValue(Zel::Name const& name) {
  auto found = watched_.find(name.stdString());
  if (found == watched_.end()) return;
  auto const* pin = static_cast<CorvelPinConfig const*>(found->second.reactor->notifier());
  if (pin) report(found->first, found->second, pin->value());
}

void PinWatcher::report(std::string const& pin, Watched& watched,
                        std::optional<std::uint32_t> value) {
  if (watched.shown == value) return;
  watched.shown = value;
  if (listener_) listener_({pin, value, clock_()});
}

void PinWatcher::detach(Watched& watched) {
  if (!watched.reactor) return;
  watched.reactor->ownerDel();
  watched.reactor->notifierIs(nullptr);
  watched.reactor = nullptr;
}

}  // namespace Host
