// The generic interface of one LED's GPIO mapping: a tool can read it, and publish or edit one as
// the wiring's owner would (pin names per colour, then ready).
#include "platform/model/GpioLedConfig.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Gpio {
namespace {

using namespace Zel::GenericIf;

// One colour's set of pin names: a set member's value is the flag stored with the name, true
// unless a tool says otherwise.
template <PinColour colour>
Reply pinNames(GpioLedConfig& led, Request const& request) {
  PinNameSet const& set = led.pinNames(colour);
  if (request.operation == Operation::iterate) return Reply::of(membersOf(set));
  Zel::Name const& pin = request.requireKey();
  Value const held = memberOf(set, pin);
  if (request.operation == Operation::set) {
    Value const* flag = request.findArg(0);
    led.pinNamesIs(colour, pin, flag ? flag->asBool() : true);
    return Reply::of(memberOf(set, pin));
  }
  if (request.operation == Operation::del) led.pinNamesDel(colour, pin);
  return Reply::of(held);
}

template <PinColour colour>
Row<GpioLedConfig> pinNameSet(Zel::Name name, Zel::AttributeId notification) {
  return {collectionAttribute(std::move(name), "bool",
                              {Operation::get, Operation::set, Operation::del, Operation::iterate},
                              {}, notification),
          &pinNames<colour>};
}

constexpr Operations kReadWrite{Operation::get, Operation::set};
using Attr = GpioLedConfig::Attr;
AttributeTable const table(
    GpioLedConfig::type(),
    Rows<GpioLedConfig>{
        {valueAttribute("name", "Zel::Name", {Operation::get}),
         [](GpioLedConfig& led, Request const&) { return Reply::of(led.name()); }},
        {valueAttribute("ledConfig", "Zel::Name", kReadWrite, Attr::ledConfig),
         [](GpioLedConfig& led, Request const& request) {
           if (request.operation == Operation::set) led.ledConfigIs(request.arg(0).asName());
           return Reply::of(led.ledConfig());
         }},
        pinNameSet<PinColour::yellow>("gpioYellowName", Attr::gpioYellowName),
        pinNameSet<PinColour::green>("gpioGreenName", Attr::gpioGreenName),
        pinNameSet<PinColour::red>("gpioRedName", Attr::gpioRedName),
        pinNameSet<PinColour::orange>("gpioOrangeName", Attr::gpioOrangeName),
        {valueAttribute("ready", "bool", kReadWrite, Attr::ready),
         [](GpioLedConfig& led, Request const& request) {
           if (request.operation == Operation::set) led.readyIs(request.arg(0).asBool());
           return Reply::of(led.ready());
         }},
    });
TableRegistration const registration(table);

}  // namespace
}  // namespace Hardware::Gpio
