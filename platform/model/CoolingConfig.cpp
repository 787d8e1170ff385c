#include "platform/model/CoolingConfig.h"

#include "platform/model/TypeRegistration.h"

namespace Environment::Cooling {

namespace {
ModelTypeRegistration<Config> const registration;
}

Zel::TypeNode const& Config::type() {
  static Zel::TypeNode const node("Environment::Cooling::Config", &newModelEntity<Config>,
                                  &Zel::Entity::type());
  return node;
}

Zel::TypeNode const* Config::fwkType() const {
  return &type();
}

}  // namespace Environment::Cooling
