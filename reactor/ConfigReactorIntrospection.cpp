// The generic interface of the configuration reactor: its directories, its two collections and
// its handlers by name, each entry forwarding to the reactor's own operation. Two positions of
// the table are kept without a published name; the dispatch accepts them and does nothing.
#include "platform/zel/generic/AttributeTable.h"
#include "reactor/ConfigReactor.h"

namespace Pinlamp {
namespace {

using namespace Zel::GenericIf;

enum Position : std::size_t {
  gpioLedSystemConfigDir,
  hwLedConfigDir,
  gpioPinConfigDir,
  gpioLedStateMachine,
  handleGpioConfigCleanup,
  gpioLedConfig,
  unpublishedAfterGpioLedConfig,
  createDriver,
  unpublishedAfterCreateDriver,
  corvelLedSystemConfig,
  handleInitialized,
};

Reply stateMachines(ConfigReactor& reactor, Request const& request) {
  switch (request.operation) {
    case Operation::iterate:
      return Reply::of(membersOf(reactor.gpioLedStateMachine()));
    case Operation::set: {
      Arguments const& args = request.args();
      auto output = args.at(0, "corvelGpioLedConfig").asPtr<CorvelGpioLedConfig>();
      auto config = args.at(1, "hwLedConfig").asPtr<LedConfig const>();
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
      return Reply::of(reactor.gpioLedConfigIs(
          request.args().at(0, "gpioLedConfig").asPtr<GpioLedConfig const>()));
    case Operation::del:
      return Reply::of(reactor.gpioLedConfigDel(request.requireKey()));
    default:
      return Reply::of(memberOf(reactor.gpioLedConfig(), request.requireKey()));
  }
}

Reply ledSystem(ConfigReactor& reactor, Request const& request) {
  switch (request.operation) {
    case Operation::set:
      return Reply::of(
          reactor.corvelLedSystemConfigIs(request.args().at(0, "corvelLedSystemConfig").asName()));
    case Operation::del:
      return Reply::of(reactor.corvelLedSystemConfigDel());
    default:
      return Reply::of(reactor.corvelLedSystemConfig());
  }
}

Reply dispatchReactor(Zel::PtrInterface& object, std::size_t position, Request const& request) {
  auto& reactor = objectAs<ConfigReactor>(object);
  switch (position) {
    case gpioLedSystemConfigDir:
      return Reply::of(reactor.gpioLedSystemConfigDir());
    case hwLedConfigDir:
      return Reply::of(reactor.hwLedConfigDir());
    case gpioPinConfigDir:
      return Reply::of(reactor.gpioPinConfigDir());
    case gpioLedStateMachine:
      return stateMachines(reactor, request);
    case handleGpioConfigCleanup:
      reactor.handleGpioConfigCleanup(request.args().at(0, "name").asName());
      return Reply::done();
    case gpioLedConfig:
      return mappingReactors(reactor, request);
    case unpublishedAfterGpioLedConfig:
    case unpublishedAfterCreateDriver:
      return Reply::done();
    case createDriver:
      reactor.createDriver(request.args().at(0, "name").asName());
      return Reply::done();
    case corvelLedSystemConfig:
      return ledSystem(reactor, request);
    case handleInitialized:
      reactor.handleInitialized();
      return Reply::done();
  }
  return Reply::notHandled();
}

constexpr Operations kGet{Operation::get};
constexpr Operations kAll{Operation::get, Operation::set, Operation::del, Operation::iterate};
AttributeTable const table(
    ConfigReactor::type(),
    {
        pointerAttribute("gpioLedSystemConfigDir", "Hardware::Gpio::GpioLedSystemConfigDir", kGet),
        pointerAttribute("hwLedConfigDir", "Hardware::Led::LedSystemConfigDir", kGet),
        pointerAttribute("gpioPinConfigDir", "Zel::Dir", kGet),
        collectionAttribute("gpioLedStateMachine", "Pinlamp::GpioLedStateMachine", kAll,
                            {{"corvelGpioLedConfig", "Hardware::Gpio::CorvelGpioLedConfig"},
                             {"hwLedConfig", "Hardware::Led::LedConfig"}}),
        procedureAttribute("handleGpioConfigCleanup", {{"name", "Zel::Name"}}),
        collectionAttribute("gpioLedConfig", "Pinlamp::ConfigReactor::ZelGpioLedConfig", kAll,
                            {{"gpioLedConfig", "Hardware::Gpio::GpioLedConfig"}}),
        unpublishedPosition(),
        procedureAttribute("createDriver", {{"name", "Zel::Name"}}),
        unpublishedPosition(),
        pointerAttribute("corvelLedSystemConfig", "Hardware::Gpio::CorvelGpioLedSystemConfigDir",
                         {Operation::get, Operation::set, Operation::del},
                         {{"corvelLedSystemConfig", "Zel::Name"}}),
        procedureAttribute("handleInitialized"),
    },
    &dispatchReactor);
TableRegistration const registration(table);

}  // namespace
}  // namespace Pinlamp
