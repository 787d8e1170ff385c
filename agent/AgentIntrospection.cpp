// The generic interface of the agent: after the agent base's entries, its two start-up stages
// (taking over the base's entries of those names), its three directories and its configuration
// reactor, each forwarding to the agent's own operation.
#include "agent/Agent.h"
#include "platform/warden/MountStatusValue.h"
#include "platform/zel/Exception.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Pinlamp {
namespace {

using namespace Zel::GenericIf;

enum Position : std::size_t {
  doMountsComplete,
  doInit,
  gpioPinConfigDir,
  gpioLedSystemConfigDir,
  hwLedConfigDir,
  configReactor,
};

Reply reactorSlot(Agent& agent, Request const& request) {
  switch (request.operation) {
    case Operation::set: {
      Arguments const& args = request.args();
      auto gpioDir = args.at(0, "gpioLedSystemConfigDir").asPtr<GpioLedSystemConfigDir const>();
      auto ledDir = args.at(1, "hwLedConfigDir").asPtr<LedSystemConfigDir const>();
      auto pinDir = args.at(2, "gpioPinConfigDir").asPtr<Zel::Dir>();
      return Reply::of(agent.configReactorIs(gpioDir, ledDir, pinDir));
    }
    case Operation::del:
      return Reply::of(agent.configReactorDel());
    default:
      return Reply::of(agent.configReactor());
  }
}

Reply dispatchAgent(Zel::PtrInterface& object, std::size_t position, Request const& request) {
  auto& agent = objectAs<Agent>(object);
  Arguments const& args = request.args();
  switch (position) {
    case doMountsComplete: {
      Statedb::MountStatus const status = Warden::mountStatusOf(args.at(0, "status"));
      agent.doMountsComplete(status, args.at(1, "entityManager").asPtr<Statedb::EntityManager>());
      return Reply::done();
    }
    case doInit:
      agent.doInit();
      return Reply::done();
    case gpioPinConfigDir:
      return Reply::of(agent.gpioPinConfigDir());
    case gpioLedSystemConfigDir:
      return Reply::of(agent.gpioLedSystemConfigDir());
    case hwLedConfigDir:
      return Reply::of(agent.hwLedConfigDir());
    case configReactor:
      return reactorSlot(agent, request);
  }
  return Reply::notHandled();
}

constexpr Operations kGet{Operation::get};
AttributeTable const table(
    Agent::type(),
    {
        procedureAttribute("doMountsComplete", {{"status", "Statedb::MountStatus"},
                                                {"entityManager", "Statedb::EntityManager"}}),
        procedureAttribute("doInit"),
        pointerAttribute("gpioPinConfigDir", "Zel::Dir", kGet),
        pointerAttribute("gpioLedSystemConfigDir", "Hardware::Gpio::GpioLedSystemConfigDir", kGet),
        pointerAttribute("hwLedConfigDir", "Hardware::Led::LedSystemConfigDir", kGet),
        pointerAttribute("configReactor", "Pinlamp::ConfigReactor",
                         {Operation::get, Operation::set, Operation::del},
                         {{"gpioLedSystemConfigDir", "Hardware::Gpio::GpioLedSystemConfigDir"},
                          {"hwLedConfigDir", "Hardware::Led::LedSystemConfigDir"},
                          {"gpioPinConfigDir", "Zel::Dir"}}),
    },
    &dispatchAgent);
TableRegistration const registration(table);

}  // namespace
}  // namespace Pinlamp
