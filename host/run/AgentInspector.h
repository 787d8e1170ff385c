// The host's view inside the agent, for `expect machine` and `show agent`. It goes through the
// framework's generic interface of the agent's objects; where that is not available the
// inspector says so with an Unavailable error, which the host reports like any failed command.
#pragma once

#include <memory>
#include <ostream>
#include <stdexcept>

#include "platform/warden/CAgent.h"
#include "platform/zel/Name.h"
#include "platform/zel/Ptr.h"

namespace Host {

class AgentInspector {
 public:
  class Unavailable : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  virtual ~AgentInspector() = default;
  // True when the agent holds a state machine for the LED.
  virtual bool hasMachine(Zel::Name const& led) const = 0;
  // Prints the agent's objects and their attributes.
  virtual void describe(std::ostream& out) const = 0;
};

// The inspector for an agent; the session keeps the agent alive while the inspector is used.
std::unique_ptr<AgentInspector> makeAgentInspector(Zel::Ptr<Warden::CAgent> const& agent);

}  // namespace Host
