// The generic interface of both per-LED GPIO directories: the LED-to-GPIO mapping directory and
// an LED agent's own per-LED pin configuration directory. Each has its name and its entries.
#include "platform/model/CorvelGpioLedSystemConfigDir.h"
#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Gpio {
namespace {

using namespace Zel::GenericIf;

enum Position : std::size_t { name, gpioLeds };

template <class Dir>
Reply dispatchDir(Zel::PtrInterface& object, std::size_t position, Request const& request) {
  auto& dir = objectAs<Dir>(object);
  switch (position) {
    case name:
      return Reply::of(dir.name());
    case gpioLeds:
      if (request.operation == Operation::iterate) return Reply::of(membersOf(dir.gpioLeds()));
      return Reply::of(memberOf(dir.gpioLeds(), request.requireKey()));
  }
  return Reply::notHandled();
}

template <class Dir>
std::vector<AttributeInfo> entriesOf(char const* ledType) {
  return {
      valueAttribute("name", "Zel::Name", {Operation::get}),
      collectionAttribute("gpioLeds", ledType, {Operation::get, Operation::iterate}, {},
                          Dir::Attr::gpioLeds),
  };
}

AttributeTable const mappingTable(
    GpioLedSystemConfigDir::type(),
    entriesOf<GpioLedSystemConfigDir>("Hardware::Gpio::GpioLedConfig"),
    &dispatchDir<GpioLedSystemConfigDir>);
TableRegistration const mappingRegistration(mappingTable);

AttributeTable const outputTable(
    CorvelGpioLedSystemConfigDir::type(),
    entriesOf<CorvelGpioLedSystemConfigDir>("Hardware::Gpio::CorvelGpioLedConfig"),
    &dispatchDir<CorvelGpioLedSystemConfigDir>);
TableRegistration const outputRegistration(outputTable);

}  // namespace
}  // namespace Hardware::Gpio
