// The generic interface of an LED state machine: its state and handlers by name, each entry
// forwarding to the machine's own operation.
#include "platform/model/LightSettingValueKind.h"
#include "platform/zel/generic/AttributeTable.h"
#include "statemachine/GpioLedStateMachine.h"

namespace Pinlamp {
namespace {

using namespace Zel::GenericIf;

using Machine = GpioLedStateMachine;

// A pin writer by name: the LED's output configuration and the value for its colour's pins.
template <void (Machine::*writer)(Zel::Ptr<CorvelGpioLedConfig> const&, U32)>
Row<Machine> pinWriter(Zel::Name name) {
  return {procedureAttribute(std::move(name),
                             {{"led", "Hardware::Gpio::CorvelGpioLedConfig"}, {"value", "U32"}}),
          [](Machine& machine, Request const& request) {
            auto led = request.arg(0).asPtr<CorvelGpioLedConfig>();
            U32 const value = request.arg(1).asU32();
            (machine.*writer)(led, value);
            return Reply::done();
          }};
}

constexpr Operations kGet{Operation::get};
constexpr Operations kGetSet{Operation::get, Operation::set};
AttributeTable const table(
    Machine::type(),
    Rows<Machine>{
        {pointerAttribute("corvelGpioLedConfig", "Hardware::Gpio::CorvelGpioLedConfig", kGet),
         [](Machine& machine, Request const&) { return Reply::of(machine.corvelGpioLedConfig()); }},
        {pointerAttribute("hwLedConfig", "Hardware::Led::LedConfig", kGet),
         [](Machine& machine, Request const&) { return Reply::of(machine.hwLedConfig()); }},
        {valueAttribute("name", "Zel::Name", kGet),
         [](Machine& machine, Request const&) { return Reply::of(machine.name()); }},
        {procedureAttribute("handleHwLedConfig"),
         [](Machine& machine, Request const&) {
           machine.handleHwLedConfig();
           return Reply::done();
         }},
        pinWriter<&Machine::handleCorvelGpioYellow>("handleCorvelGpioYellow"),
        pinWriter<&Machine::handleCorvelGpioGreen>("handleCorvelGpioGreen"),
        pinWriter<&Machine::handleCorvelGpioRed>("handleCorvelGpioRed"),
        pinWriter<&Machine::handleCorvelGpioOrange>("handleCorvelGpioOrange"),
        {procedureAttribute("handleLedSystemConfig",
                            {{"ledSystemConfig", "Zel::Name"}, {"setting", "Led::LightSetting"}}),
         [](Machine& machine, Request const& request) {
           Zel::Name const ledSystemConfig = request.arg(0).asName();
           machine.handleLedSystemConfig(ledSystemConfig, request.arg(1).as<::Led::LightSetting>());
           return Reply::done();
         }},
        {pointerAttribute("clock", "Zel::Clock", kGetSet),
         [](Machine& machine, Request const& request) {
           if (request.operation == Operation::set) {
             machine.clockIs(request.arg(0).asPtr<Zel::Clock const>());
           }
           return Reply::of(machine.clock());
         }},
        {procedureAttribute("handleClockTimeout"),
         [](Machine& machine, Request const&) {
           machine.handleClockTimeout();
           return Reply::done();
         }},
        {valueAttribute("flashingState", "bool", kGetSet),
         [](Machine& machine, Request const& request) {
           if (request.operation == Operation::set)
             machine.flashingStateIs(request.arg(0).asBool());
           return Reply::of(machine.flashingState());
         }},
        {valueAttribute("initialized", "bool", kGetSet),
         [](Machine& machine, Request const& request) {
           if (request.operation == Operation::set) machine.initializedIs(request.arg(0).asBool());
           return Reply::of(machine.initialized());
         }},
        {procedureAttribute("handleInitialized"),
         [](Machine& machine, Request const&) {
           machine.handleInitialized();
           return Reply::done();
         }},
    });
TableRegistration const registration(table);

}  // namespace
}  // namespace Pinlamp
