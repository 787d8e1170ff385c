// Hardware::Gpio::CorvelPinConfig: the configured value of one GPIO pin, from which the pin is
// driven. LED agents write 1 (lit) or 0 (dark).
#pragma once

#include <cstdint>

#include "platform/zel/Entity.h"
#include "platform/zel/Notifiee.h"

namespace Hardware::Gpio {

using U32 = std::uint32_t;

class CorvelPinConfig : public Zel::Entity {
 public:
  struct Attr {
    enum : Zel::AttributeId { value = 1 };
  };

  class NotifieeConst : public Zel::NotifieeConstOf<CorvelPinConfig> {
   public:
    virtual void onValue() {}
    void zelDeliver(Zel::AttributeId attribute, Zel::Name const* key) override;

   protected:
    using Zel::NotifieeConstOf<CorvelPinConfig>::NotifieeConstOf;
  };

  explicit CorvelPinConfig(Zel::Name name) : Zel::Entity(std::move(name)) {}
  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;

  U32 value() const noexcept { return value_; }
  void valueIs(U32 value);

 private:
  U32 value_ = 0;
};

}  // namespace Hardware::Gpio
