// The generic interface of an LED state machine: its state and handlers by name, each entry
// forwarding to the machine's own operation.
#include "platform/model/LightSettingValueKind.h"
#include "platform/zel/generic/AttributeTable.h"
#include "statemachine/GpioLedStateMachine.h"

namespace Pinlamp {
namespace {

using namespace Zel::GenericIf;

enum Position : std::size_t {
  corvelGpioLedConfig,
  hwLedConfig,
  name,
  handleHwLedConfig,
  handleCorvelGpioYellow,
  handleCorvelGpioGreen,
  handleCorvelGpioRed,
  handleCorvelGpioOrange,
  handleLedSystemConfig,
  clock,
  handleClockTimeout,
  flashingState,
  initialized,
  handleInitialized,
};

using PinWriter = void (GpioLedStateMachine::*)(Zel::Ptr<CorvelGpioLedConfig> const&, U32);

Reply writePins(GpioLedStateMachine& machine, PinWriter writer, Arguments const& args) {
  auto led = args.at(0, "led").asPtr<CorvelGpioLedConfig>();
  U32 const value = args.at(1, "value").asU32();
  (machine.*writer)(led, value);
  return Reply::done();
}

Reply dispatchMachine(Zel::PtrInterface& object, std::size_t position, Request const& request) {
  auto& machine = objectAs<GpioLedStateMachine>(object);
  bool const isSet = request.operation == Operation::set;
  Arguments const& args = request.args();
  switch (position) {
    case corvelGpioLedConfig:
      return Reply::of(machine.corvelGpioLedConfig());
    case hwLedConfig:
      return Reply::of(machine.hwLedConfig());
    case name:
      return Reply::of(machine.name());
    case handleHwLedConfig:
      machine.handleHwLedConfig();
      return Reply::done();
    case handleCorvelGpioYellow:
      return writePins(machine, &GpioLedStateMachine::handleCorvelGpioYellow, args);
    case handleCorvelGpioGreen:
      return writePins(machine, &GpioLedStateMachine::handleCorvelGpioGreen, args);
    case handleCorvelGpioRed:
      return writePins(machine, &GpioLedStateMachine::handleCorvelGpioRed, args);
    case handleCorvelGpioOrange:
      return writePins(machine, &GpioLedStateMachine::handleCorvelGpioOrange, args);
    case handleLedSystemConfig: {
      Zel::Name const ledSystemConfig = args.at(0, "ledSystemConfig").asName();
      machine.handleLedSystemConfig(ledSystemConfig,
                                    args.at(1, "setting").as<::Led::LightSetting>());
      return Reply::done();
    }
    case clock:
      if (isSet) machine.clockIs(args.at(0, "clock").asPtr<Zel::Clock const>());
      return Reply::of(machine.clock());
    case handleClockTimeout:
      machine.handleClockTimeout();
      return Reply::done();
    case flashingState:
      if (isSet) machine.flashingStateIs(args.at(0, "flashingState").asBool());
      return Reply::of(machine.flashingState());
    case initialized:
      if (isSet) machine.initializedIs(args.at(0, "initialized").asBool());
      return Reply::of(machine.initialized());
    case handleInitialized:
      machine.handleInitialized();
      return Reply::done();
  }
  return Reply::notHandled();
}

AttributeInfo pinWriter(Zel::Name name) {
  return procedureAttribute(std::move(name),
                            {{"led", "Hardware::Gpio::CorvelGpioLedConfig"}, {"value", "U32"}});
}

constexpr Operations kGet{Operation::get};
constexpr Operations kGetSet{Operation::get, Operation::set};
AttributeTable const table(
    GpioLedStateMachine::type(),
    {
        pointerAttribute("corvelGpioLedConfig", "Hardware::Gpio::CorvelGpioLedConfig", kGet),
        pointerAttribute("hwLedConfig", "Hardware::Led::LedConfig", kGet),
        valueAttribute("name", "Zel::Name", kGet),
        procedureAttribute("handleHwLedConfig"),
        pinWriter("handleCorvelGpioYellow"),
        pinWriter("handleCorvelGpioGreen"),
        pinWriter("handleCorvelGpioRed"),
        pinWriter("handleCorvelGpioOrange"),
        procedureAttribute("handleLedSystemConfig",
                           {{"ledSystemConfig", "Zel::Name"}, {"setting", "Led::LightSetting"}}),
        pointerAttribute("clock", "Zel::Clock", kGetSet),
        procedureAttribute("handleClockTimeout"),
        valueAttribute("flashingState", "bool", kGetSet),
        valueAttribute("initialized", "bool", kGetSet),
        procedureAttribute("handleInitialized"),
    },
    &dispatchMachine);
TableRegistration const registration(table);

}  // namespace
}  // namespace Pinlamp
