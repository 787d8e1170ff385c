// The generic interface of a pin's configuration: its value can be read and driven by name.
#include "platform/model/CorvelPinConfig.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Gpio {
namespace {

using namespace Zel::GenericIf;

AttributeTable const table(CorvelPinConfig::type(),
                           Rows<CorvelPinConfig>{
                               {valueAttribute("name", "Zel::Name", {Operation::get}),
                                [](CorvelPinConfig& pin, Request const&) {
                                  return Reply::of(pin.name());
                                }},
                               {valueAttribute("value", "U32", {Operation::get, Operation::set},
                                               CorvelPinConfig::Attr::value),
                                [](CorvelPinConfig& pin, Request const& request) {
                                  if (request.operation == Operation::set)
                                    pin.valueIs(request.arg(0).asU32());
                                  return Reply::of(pin.value());
                                }},
                           });
TableRegistration const registration(table);

}  // namespace
}  // namespace Hardware::Gpio
