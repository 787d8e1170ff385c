// The generic interface of both per-LED GPIO directories: the LED-to-GPIO mapping directory and
// an LED agent's own per-LED pin configuration directory. Each has its name and its entries.
#include "platform/model/CorvelGpioLedSystemConfigDir.h"
#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Gpio {
namespace {

using namespace Zel::GenericIf;

template <class Dir>
Rows<Dir> rowsOf(char const* ledType) {
  return {
      {valueAttribute("name", "Zel::Name", {Operation::get}),
       [](Dir& dir, Request const&) { return Reply::of(dir.name()); }},
      {collectionAttribute("gpioLeds", ledType, {Operation::get, Operation::iterate}, {},
                           Dir::Attr::gpioLeds),
       [](Dir& dir, Request const& request) {
         if (request.operation == Operation::iterate) return Reply::of(membersOf(dir.gpioLeds()));
         return Reply::of(memberOf(dir.gpioLeds(), request.requireKey()));
       }},
  };
}

AttributeTable const mappingTable(GpioLedSystemConfigDir::type(),
                                  rowsOf<GpioLedSystemConfigDir>("Hardware::Gpio::GpioLedConfig"));
TableRegistration const mappingRegistration(mappingTable);

AttributeTable const outputTable(
    CorvelGpioLedSystemConfigDir::type(),
    rowsOf<CorvelGpioLedSystemConfigDir>("Hardware::Gpio::CorvelGpioLedConfig"));
TableRegistration const outputRegistration(outputTable);

}  // namespace
}  // namespace Hardware::Gpio
