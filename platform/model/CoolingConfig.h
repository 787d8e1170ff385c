// Environment::Cooling::Config: the cooling policy's configuration. LED agents mount it so that
// they start only once it exists; they do not read it.
#pragma once

#include "platform/zel/Entity.h"

namespace Environment::Cooling {

class Config : public Zel::Entity {
 public:
  explicit Config(Zel::Name name) : Zel::Entity(std::move(name)) {}
  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;
};

}  // namespace Environment::Cooling
