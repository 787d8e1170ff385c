#include "agent/AgentFactory.h"

#include "platform/warden/AgentAbi.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Exception.h"

namespace Pinlamp {

Zel::Ptr<Agent> agentFactory(Zel::Name name) {
  Zel::Ptr<Agent> agent = Zel::allocate<Agent>(std::move(name));
  if (!agent) Zel::throwRangeException("null ValidPtr");
  return agent;
}

Zel::Ptr<Zel::Entity> newEntityForDir(Zel::Name const& name, Zel::Dir*) {
  return agentFactory(name);
}

}  // namespace Pinlamp

extern "C" Warden::CAgent* wardenAgentFactory(char const* name) {
  try {
    return Pinlamp::agentFactory(Zel::Name(name ? name : "")).release();
  } catch (...) {
    return nullptr;
  }
}

// Read by the host before it calls the factory: the framework this plug-in was built against.
WARDEN_AGENT_ABI_DESCRIPTOR;
