// A directory of per-LED GPIO entries keyed by LED name, in the attribute `gpioLeds`: the shape
// that the LED-to-GPIO mapping directory and an LED agent's own output directory share. `Self`
// is the directory type (its reactors are notifiees of it), `Led` the type of its entries. How a
// missing entry is made by name differs between the two and stays with each.
#pragma once

#include "platform/model/ChildCollection.h"
#include "platform/zel/Notifiee.h"

namespace Hardware::Gpio {

template <class Self, class Led>
class GpioLedsDir : public Zel::Entity {
 public:
  struct Attr {
    enum : Zel::AttributeId { gpioLeds = 1, gpioLedsImmediate };
  };

  class NotifieeConst : public Zel::NotifieeConstOf<Self> {
   public:
    virtual void onGpioLeds(Zel::Name) {}
    virtual void onGpioLedszelImmediate() {}
    virtual void onGpioLeds() {}
    void zelDeliver(Zel::AttributeId attribute, Zel::Name const* key) override {
      switch (attribute) {
        case Attr::gpioLeds:
          return key ? onGpioLeds(*key) : onGpioLeds();
        case Attr::gpioLedsImmediate:
          return onGpioLedszelImmediate();
      }
    }

   protected:
    using Zel::NotifieeConstOf<Self>::NotifieeConstOf;
  };

  Zel::NameMap<Zel::Ptr<Led>> const& gpioLeds() const noexcept { return gpioLeds_.members(); }
  Zel::Ptr<Led> gpioLeds(Zel::Name const& name) const { return gpioLeds_.find(name); }
  // Publishes a fully built entry, replacing any other one of that name in one step.
  Zel::Ptr<Led> gpioLedsIs(Zel::Ptr<Led> const& led) {
    if (gpioLeds_.insert(led)) notify(Attr::gpioLeds, led->name());
    return led;
  }
  Zel::Ptr<Led> gpioLedsDel(Zel::Name const& name) {
    Zel::Ptr<Led> removed = gpioLeds_.take(name);
    if (removed) notify(Attr::gpioLeds, name);
    return removed;
  }
  // Removes every entry; reactors learn of it through the immediate and whole-collection hooks.
  void gpioLedsDelAll() {
    if (gpioLeds_.members().empty()) return;
    for (auto member : gpioLeds_.members()) gpioLeds_.take(member.key);
    notifyImmediate(Attr::gpioLedsImmediate);
    notify(Attr::gpioLeds);
  }

 protected:
  explicit GpioLedsDir(Zel::Name name) : Zel::Entity(std::move(name)), gpioLeds_(this) {}

 private:
  ChildCollection<Led> gpioLeds_;
};

}  // namespace Hardware::Gpio
