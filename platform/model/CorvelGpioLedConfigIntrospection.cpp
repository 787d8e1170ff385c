// The generic interface of one LED's pin configuration: its four colours' pins, walkable by name
// down to each pin's value.
#include "platform/model/CorvelGpioLedConfig.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Gpio {
namespace {

using namespace Zel::GenericIf;

enum Position : std::size_t { name, ledSystemConfig, gpioYellow, gpioGreen, gpioRed, gpioOrange };

Reply dispatchLed(Zel::PtrInterface& object, std::size_t position, Request const& request) {
  auto& led = objectAs<CorvelGpioLedConfig>(object);
  switch (position) {
    case name:
      return Reply::of(led.name());
    case ledSystemConfig:
      return Reply::of(Zel::Ptr<Zel::Entity const>(led.ledSystemConfig()));
    case gpioYellow:
    case gpioGreen:
    case gpioRed:
    case gpioOrange: {
      // The colours sit in colour order from gpioYellow on.
      PinConfigs const& pins = led.pins(static_cast<PinColour>(position - gpioYellow));
      if (request.operation == Operation::iterate) return Reply::of(membersOf(pins));
      return Reply::of(memberOf(pins, request.requireKey()));
    }
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
