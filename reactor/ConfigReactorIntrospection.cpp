// The generic interface of the configuration reactor: its directories, its two collections and
// its handlers by name, each entry forwarding to the reactor's own operation. Two positions of
// the table are kept without a published name; a request on them is accepted and does nothing.
#include "platform/zel/generic/AttributeTable.h"
#include "reactor/ConfigReactor.h"

namespace Pinlamp {
namespace {

using namespace Zel::GenericIf;

Reply stateMachines(ConfigReactor& reactor, Request const& request) {
  switch (request.operation) {
    case Operation::iterate:
      return Reply::of(membersOf(reactor.gpioLedStateMachine()));
    case Operation::set: {
      auto output = request.arg(0).asPtr<CorvelGpioLedConfig>();
      auto config = request.arg(1).asPtr<LedConfig const>();
      return Reply::of(reactor.gpioLedStateMachineIs(output, config));
    }
    case Operation::del:
      return Reply::of(reactor.gpioLedStateMachineDel(request.requireKey()));
    default:
      return Reply::of(memberOf(reactor.gpioLedStateMachine(), request.requireKey()));
  }
}

Reply mappingReactors(ConfigReactor& reactor, Request const& request) {
  switch (request.operation) {
    case Operation::iterate:
      return Reply::of(membersOf(reactor.gpioLedConfig()));
    case Operation::set:
      return Reply::of(reactor.gpioLedConfigIs(request.arg(0).asPtr<GpioLedConfig const>()));
    case Operation::del:
      return Reply::of(reactor.gpioLedConfigDel(request.requireKey()));
    default:
      return Reply::of(memberOf(reactor.gpioLedConfig(), request.requireKey()));
  }
}

Reply ledSystem(ConfigReactor& reactor, Request const& request) {
  switch (request.operation) {
    case Operation::set:
      return Reply::of(reactor.corvelLedSystemConfigIs(request.arg(0).asName()));
    case Operation::del:
      return Reply::of(reactor.corvelLedSystemConfigDel());
    default:
      return Reply::of(reactor.corvelLedSystemConfig());
  }
}

// Kept without a published name; accepted, and does nothing.
Row<ConfigReactor> unpublished() {
  return {unpublishedPosition(), [](ConfigReactor&, Request const&) { return Reply::done(); }};
}

constexpr Operations kGet{Operation::get};
constexpr Operations kAll{Operation::get, Operation::set, Operation::del, Operation::iterate};
AttributeTable const table(
    ConfigReactor::type(),
    Rows<ConfigReactor>{
        {pointerAttribute("gpioLedSystemConfigDir", "Hardware::Gpio::GpioLedSystemConfigDir", kGet),
         [](ConfigReactor& reactor, Request const&) {
           return Reply::of(reactor.gpioLedSystemConfigDir());
         }},
        {pointerAttribute("hwLedConfigDir", "Hardware::Led::LedSystemConfigDir", kGet),
         [](ConfigReactor& reactor, Request const&) {
           return Reply::of(reactor.hwLedConfigDir());
         }},
        {pointerAttribute("gpioPinConfigDir", "Zel::Dir", kGet),
         [](ConfigReactor& reactor, Request const&) {
           return Reply::of(reactor.gpioPinConfigDir());
         }},
        {collectionAttribute("gpioLedStateMachine", "Pinlamp::GpioLedStateMachine", kAll,
                             {{"corvelGpioLedConfig", "Hardware::Gpio::CorvelGpioLedConfig"},
                              {"hwLedConfig", "Hardware::Led::LedConfig"}}),
         &stateMachines},
        {procedureAttribute("handleGpioConfigCleanup", {{"name", "Zel::Name"}}),
         [](ConfigReactor& reactor, Request const& request) {
           reactor.handleGpioConfigCleanup(request.arg(0).asName());
           return Reply::done();
         }},
        {collectionAttribute("gpioLedConfig", "Pinlamp::ConfigReactor::ZelGpioLedConfig", kAll,
                             {{"gpioLedConfig", "Hardware::Gpio::GpioLedConfig"}}),
         &mappingReactors},
        unpublished(),
        {procedureAttribute("createDriver", {{"name", "Zel::Name"}}),
         [](ConfigReactor& reactor, Request const& request) {
           reactor.createDriver(request.arg(0).asName());
           return Reply::done();
         }},
        unpublished(),
        {pointerAttribute("corvelLedSystemConfig", "Hardware::Gpio::CorvelGpioLedSystemConfigDir",
                          {Operation::get, Operation::set, Operation::del},
                          {{"corvelLedSystemConfig", "Zel::Name"}}),
         &ledSystem},
        {procedureAttribute("handleInitialized"),
         [](ConfigReactor& reactor, Request const&) {
           reactor.handleInitialized();
           return Reply::done();
         }},
    });
TableRegistration const registration(table);

}  // namespace
}  // namespace Pinlamp
