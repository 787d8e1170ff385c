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

Reply reactorSlot(Agent& agent, Request const& request) {
  switch (request.operation) {
    case Operation::set: {
      auto gpioDir = request.arg(0).asPtr<GpioLedSystemConfigDir const>();
      auto ledDir = request.arg(1).asPtr<LedSystemConfigDir const>();
      auto pinDir = request.arg(2).asPtr<Zel::Dir>();
      return Reply::of(agent.configReactorIs(gpioDir, ledDir, pinDir));
    }
    case Operation::del:
      return Reply::of(agent.configReactorDel());
    default:
      return Reply::of(agent.configReactor());
  }
}

constexpr Operations kGet{Operation::get};
AttributeTable const table(
    Agent::type(),
    Rows<Agent>{
        {procedureAttribute("doMountsComplete", {{"status", "Statedb::MountStatus"},
                                                 {"entityManager", "Statedb::EntityManager"}}),
         [](Agent& agent, Request const& request) {
           Statedb::MountStatus const status = Warden::mountStatusOf(request.arg(0));
           agent.doMountsComplete(status, request.arg(1).asPtr<Statedb::EntityManager>());
           return Reply::done();
         }},
        {procedureAttribute("doInit"),
         [](Agent& agent, Request const&) {
           agent.doInit();
           return Reply::done();
         }},
        {pointerAttribute("gpioPinConfigDir", "Zel::Dir", kGet),
         [](Agent& agent, Request const&) { return Reply::of(agent.gpioPinConfigDir()); }},
        {pointerAttribute("gpioLedSystemConfigDir", "Hardware::Gpio::GpioLedSystemConfigDir", kGet),
         [](Agent& agent, Request const&) { return Reply::of(agent.gpioLedSystemConfigDir()); }},
        {pointerAttribute("hwLedConfigDir", "Hardware::Led::LedSystemConfigDir", kGet),
         [](Agent& agent, Request const&) { return Reply::of(agent.hwLedConfigDir()); }},
        {pointerAttribute("configReactor", "Pinlamp::ConfigReactor",
                          {Operation::get, Operation::set, Operation::del},
                          {{"gpioLedSystemConfigDir", "Hardware::Gpio::GpioLedSystemConfigDir"},
                           {"hwLedConfigDir", "Hardware::Led::LedSystemConfigDir"},
                           {"gpioPinConfigDir", "Zel::Dir"}}),
         &reactorSlot},
    });
TableRegistration const registration(table);

}  // namespace
}  // namespace Pinlamp
