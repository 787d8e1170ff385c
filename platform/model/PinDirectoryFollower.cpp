#include "platform/model/PinDirectoryFollower.h"

#include <vector>

#include "platform/zel/Allocate.h"

namespace Hardware::Gpio {

class PinDirectoryFollower::DirReactor : public Zel::Dir::NotifieeConst {
 public:
  DirReactor(Zel::Ptr<Zel::Dir const> const& dir, PinDirectoryFollower* follower)
      : Zel::Dir::NotifieeConst(dir), follower_(follower) {}
  void onEntry(Zel::Name name) override {
    if (follower_) follower_->onEntry(name);
  }
  void onEntry() override {
    if (follower_) follower_->onAllEntries();
  }
  void ownerDel() noexcept { follower_ = nullptr; }

 private:
  PinDirectoryFollower* follower_;
};

class PinDirectoryFollower::PinReactor : public CorvelPinConfig::NotifieeConst {
 public:
  PinReactor(Zel::Ptr<CorvelPinConfig const> const& pin, PinDirectoryFollower* follower)
      : CorvelPinConfig::NotifieeConst(pin), follower_(follower) {}
  void onValue() override {
    auto const* pin = static_cast<CorvelPinConfig const*>(notifier());
    if (follower_ && pin) follower_->owner_->onPinValue(tag_, pin->name().stdString(), *pin);
  }
  void tagIs(Owner::Tag tag) noexcept { tag_ = tag; }
  // Cut from both ends: a detached reactor may still be held by a delivery under way.
  void detach() noexcept {
    follower_ = nullptr;
    notifierIs(nullptr);
  }

 private:
  PinDirectoryFollower* follower_;
  Owner::Tag tag_ = 0;
};

PinDirectoryFollower::PinDirectoryFollower(Zel::Dir& pins, Owner& owner)
    : pins_(&pins), owner_(&owner) {
  dirReactor_ = Zel::allocate<DirReactor>(Zel::Ptr<Zel::Dir const>(pins_), this);
  onAllEntries();
}

PinDirectoryFollower::~PinDirectoryFollower() {
  for (auto member : followed_) member.value->detach();
  dirReactor_->ownerDel();
  dirReactor_->notifierIs(nullptr);
}

void PinDirectoryFollower::onEntry(Zel::Name const& name) {
  auto const pin = Zel::ptrCast<CorvelPinConfig>(pins_->entityRef(name));
  Zel::Ptr<PinReactor> reactor;
  if (Zel::Ptr<PinReactor>* found = followed_.find(name)) {
    if (pin && (*found)->notifier() == pin.ptr()) return;
    (*found)->detach();
    if (!pin) {
      followed_.take(name);
      owner_->onPinLeft(name.stdString());
      return;
    }
    reactor = *found = Zel::allocate<PinReactor>(Zel::Ptr<CorvelPinConfig const>(pin), this);
  } else if (!pin) {
    return;
  } else {
    reactor = Zel::allocate<PinReactor>(Zel::Ptr<CorvelPinConfig const>(pin), this);
    followed_.insert(name, reactor);
  }
  reactor->tagIs(owner_->onPinArrived(name.stdString(), *pin));
}

// The directory does not say what changed: every pin it holds and every pin followed is looked at.
void PinDirectoryFollower::onAllEntries() {
  std::vector<Zel::Name> names;
  names.reserve(pins_->entryCount() + followed_.size());
  for (auto member : pins_->entries()) names.push_back(member.key);
  for (auto member : followed_) names.push_back(member.key);
  for (Zel::Name const& name : names) onEntry(name);
}

}  // namespace Hardware::Gpio
