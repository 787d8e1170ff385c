// The generic interface of an LED agent's own per-LED pin configuration directory.
#include "platform/model/CorvelGpioLedSystemConfigDir.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Gpio {
namespace {

using namespace Zel::GenericIf;

enum Position : std::size_t { name, gpioLeds };

Reply dispatchDir(Zel::PtrInterface& object, std::size_t position, Request const& request) {
  auto& dir = objectAs<CorvelGpioLedSystemConfigDir>(object);
  switch (position) {
    case name:
      return Reply::of(dir.name());
    case gpioLeds:
      if (request.operation == Operation::iterate) return Reply::of(membersOf(dir.gpioLeds()));
      return Reply::of(memberOf(dir.gpioLeds(), request.requireKey()));
  }
  return Reply::notHandled();
}

AttributeTable const table(CorvelGpioLedSystemConfigDir::type(),
                           {
                               valueAttribute("name", "Zel::Name", {Operation::get}),
                               collectionAttribute("gpioLeds",
                                                   "Hardware::Gpio::CorvelGpioLedConfig",
                                                   {Operation::get, Operation::iterate}, {},
                                                   CorvelGpioLedSystemConfigDir::Attr::gpioLeds),
                           },
                           &dispatchDir);
TableRegistration const registration(table);

}  // namespace
}  // namespace Hardware::Gpio
