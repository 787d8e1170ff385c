// The generic interface of a pin's configuration: its value can be read and driven by name.
#include "platform/model/CorvelPinConfig.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Gpio {
namespace {

using namespace Zel::GenericIf;

enum Position : std::size_t { name, value };

Reply dispatchPin(Zel::PtrInterface& object, std::size_t position, Request const& request) {
  auto& pin = objectAs<CorvelPinConfig>(object);
  switch (position) {
    case name:
      return Reply::of(pin.name());
    case value:
      if (request.operation == Operation::set) pin.valueIs(request.args().at(0, "value").asU32());
      return Reply::of(pin.value());
  }
  return Reply::notHandled();
}

AttributeTable const table(CorvelPinConfig::type(),
                           {
                               valueAttribute("name", "Zel::Name", {Operation::get}),
                               valueAttribute("value", "U32", {Operation::get, Operation::set},
                                              CorvelPinConfig::Attr::value),
                           },
                           &dispatchPin);
TableRegistration const registration(table);

}  // namespace
}  // namespace Hardware::Gpio
