// The generic interface of one LED's pin configuration: its four colours' pins, walkable by name
// down to each pin's value.
#include "platform/model/CorvelGpioLedConfig.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Gpio {
namespace {

using namespace Zel::GenericIf;

template <PinColour colour>
Reply pins(CorvelGpioLedConfig& led, Request const& request) {
  PinConfigs const& pins = led.pins(colour);
  if (request.operation == Operation::iterate) return Reply::of(membersOf(pins));
  return Reply::of(memberOf(pins, request.requireKey()));
}

template <PinColour colour>
Row<CorvelGpioLedConfig> colourRow(Zel::Name name, Zel::AttributeId notification) {
  return {collectionAttribute(std::move(name), "Hardware::Gpio::CorvelPinConfig",
                              {Operation::get, Operation::iterate}, {}, notification),
          &pins<colour>};
}

using Attr = CorvelGpioLedConfig::Attr;
AttributeTable const table(
    CorvelGpioLedConfig::type(),
    Rows<CorvelGpioLedConfig>{
        {valueAttribute("name", "Zel::Name", {Operation::get}),
         [](CorvelGpioLedConfig& led, Request const&) { return Reply::of(led.name()); }},
        {pointerAttribute("ledSystemConfig", "Zel::Entity", {Operation::get}, {},
                          Attr::ledSystemConfig),
         [](CorvelGpioLedConfig& led, Request const&) {
           return Reply::of(Zel::Ptr<Zel::Entity const>(led.ledSystemConfig()));
         }},
        colourRow<PinColour::yellow>("gpioYellow", Attr::gpioYellow),
        colourRow<PinColour::green>("gpioGreen", Attr::gpioGreen),
        colourRow<PinColour::red>("gpioRed", Attr::gpioRed),
        colourRow<PinColour::orange>("gpioOrange", Attr::gpioOrange),
    });
TableRegistration const registration(table);

}  // namespace
}  // namespace Hardware::Gpio
