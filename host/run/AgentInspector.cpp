#include "host/run/AgentInspector.h"

namespace Host {

std::unique_ptr<AgentInspector> makeUnavailableInspector();
std::unique_ptr<AgentInspector> makeGenericAgentInspector(Zel::Ptr<Warden::CAgent> const& agent);

std::unique_ptr<AgentInspector> makeAgentInspector(Zel::Ptr<Warden::CAgent> const& agent) {
#ifdef WARDEN_GENERIC_INSPECTION
  return makeGenericAgentInspector(agent);
#else
  (void)agent;
  return makeUnavailableInspector();
#endif
}

}  // namespace Host
