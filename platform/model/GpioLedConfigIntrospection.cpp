// The generic interface of one LED's GPIO mapping: a tool can read it, and publish or edit one as
// the wiring's owner would (pin names per colour, then ready).
#include "platform/model/GpioLedConfig.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Gpio {
namespace {

using namespace Zel::GenericIf;

enum Position : std::size_t {
  name,
  ledConfig,
  gpioYellowName,
  gpioGreenName,
  gpioRedName,
  gpioOrangeName,
  ready,
};

char const* const kAttributeNames[] = {"name",          "ledConfig",   "gpioYellowName",
                                       "gpioGreenName", "gpioRedName", "gpioOrangeName",
                                       "ready"};

// The pin-name sets sit in colour order from gpioYellowName on.
PinColour colourAt(std::size_t position) {
  return static_cast<PinColour>(position - gpioYellowName);
}

// One colour's set of pin names: a set member's value is the flag stored with the name, true
// unless a tool says otherwise.
Reply pinNames(GpioLedConfig& led, std::size_t position, Request const& request) {
  PinColour const colour = colourAt(position);
  PinNameSet const& set = led.pinNames(colour);
  if (request.operation == Operation::iterate) return Reply::of(membersOf(set));
  Zel::Name const& pin = request.requireKey();
  Value const held = memberOf(set, pin);
  if (request.operation == Operation::set) {
    Value const* flag = request.args().find(0, kAttributeNames[position]);
    led.pinNamesIs(colour, pin, flag ? flag->asBool() : true);
    return Reply::of(memberOf(set, pin));
  }
  if (request.operation == Operation::del) led.pinNamesDel(colour, pin);
  return Reply::of(held);
}

Reply dispatchLed(Zel::PtrInterface& object, std::size_t position, Request const& request) {
  auto& led = objectAs<GpioLedConfig>(object);
  bool const isSet = request.operation == Operation::set;
  switch (position) {
    case name:
      return Reply::of(led.name());
    case ledConfig:
      if (isSet) led.ledConfigIs(request.args().at(0, "ledConfig").asName());
      return Reply::of(led.ledConfig());
    case gpioYellowName:
    case gpioGreenName:
    case gpioRedName:
    case gpioOrangeName:
      return pinNames(led, position, request);
    case ready:
      if (isSet) led.readyIs(request.args().at(0, "ready").asBool());
      return Reply::of(led.ready());
  }
  return Reply::notHandled();
}

AttributeInfo pinNameSet(Position position, Zel::AttributeId notification) {
  return collectionAttribute(kAttributeNames[position], "bool",
                             {Operation::get, Operation::set, Operation::del, Operation::iterate},
                             {}, notification);
}

using Attr = GpioLedConfig::Attr;
AttributeTable const table(
    GpioLedConfig::type(),
    {
        valueAttribute("name", "Zel::Name", {Operation::get}),
        valueAttribute("ledConfig", "Zel::Name", {Operation::get, Operation::set}, Attr::ledConfig),
        pinNameSet(gpioYellowName, Attr::gpioYellowName),
        pinNameSet(gpioGreenName, Attr::gpioGreenName),
        pinNameSet(gpioRedName, Attr::gpioRedName),
        pinNameSet(gpioOrangeName, Attr::gpioOrangeName),
        valueAttribute("ready", "bool", {Operation::get, Operation::set}, Attr::ready),
    },
    &dispatchLed);
TableRegistration const registration(table);

}  // namespace
}  // namespace Hardware::Gpio
