// Registers the agent library's classes with the framework's type registry when the library is
// loaded, so that the framework can create and introspect them by type name.
#include <iostream>

#include "agent/Agent.h"
#include "platform/zel/TypeNode.h"
#include "reactor/ConfigReactor.h"
#include "statemachine/GpioLedStateMachine.h"

namespace Pinlamp {
namespace {

struct TypeRegistration {
  TypeRegistration() {
    Zel::typeNodeIs(&ConfigReactor::type());
    Zel::typeNodeIs(&Agent::type());
    Zel::typeNodeIs(&GpioLedStateMachine::type());
  }
  std::ios_base::Init streams;  // the trace builders stream into standard streams
} const registration;

}  // namespace
}  // namespace Pinlamp
