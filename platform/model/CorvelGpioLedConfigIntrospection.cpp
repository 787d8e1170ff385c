// The generic interface of one LED's pin configuration: its four colours' pins, walkable by name
// down to each pin's value.
#include "platform/model/CorvelGpioLedConfig.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Gpio {
namespace {

using namespace Zel::GenericIf;

enum Position : std::size_t { name, ledSystemConfig, gpioYellow, gpioGreen, gpioRed, gpioOrange };

Reply pins(PinConfigs const& colour, Request const& request) {
  if (request.operation == Operation::iterate) return Reply::of(membersOf(colour));
  return Reply::of(memberOf(colour, request.requireKey()));
}

Reply dispatchLed(Zel::PtrInterface& object, std::size_t position, Request const& request) {
  auto& led = objectAs<CorvelGpioLedConfig>(object);
  switch (position) {
    case name:
      return Reply::of(led.name());
    case ledSystemConfig:
      return Reply::of(Zel::Ptr<Zel::Entity const>(led.ledSystemConfig()));
    case gpioYellow:
      return pins(led.gpioYellow(), request);
    case gpioGreen:
      return pins(led.gpioGreen(), request);
    case gpioRed:
      return pins(led.gpioRed(), request);
    case gpioOrange:
      return pins(led.gpioOrange(), request);
  }
  return Reply::notHandled();
}

AttributeInfo colour(Zel::Name name, Zel::AttributeId notification) {
  return collectionAttribute(std::move(name), "Hardware::Gpio::CorvelPinConfig",
                             {Operation::get, Operation::iterate}, {}, notification);
}

using Attr = CorvelGpioLedConfig::Attr;
AttributeTable const table(CorvelGpioLedConfig::type(),
                           {
                               valueAttribute("name", "Zel::Name", {Operation::get}),
                               pointerAttribute("ledSystemConfig", "Zel::Entity", {Operation::get},
                                                {}, Attr::ledSystemConfig),
                               colour("gpioYellow", Attr::gpioYellow),
                               colour("gpioGreen", Attr::gpioGreen),
                               colour("gpioRed", Attr::gpioRed),
                               colour("gpioOrange", Attr::gpioOrange),
                           },
                           &dispatchLed);
TableRegistration const registration(table);

}  // namespace
}  // namespace Hardware::Gpio
