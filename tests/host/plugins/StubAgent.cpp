// A bare agent plug-in for the loader's tests: it exports the factory and does nothing else.
// Built again with STUB_AGENT_RETURNS_NULL for a factory that fails to make an agent, with
// STUB_FRAMEWORK_VERSION for one built against another framework, and with STUB_WITHOUT_ABI
// for one from before plug-ins said which framework they were built against.
#include "platform/warden/AgentAbi.h"
#include "platform/warden/CAgent.h"
#include "platform/zel/Allocate.h"

namespace {

class StubAgent : public Warden::CAgent {
 public:
  using Warden::CAgent::CAgent;
};

}  // namespace

extern "C" Warden::CAgent* wardenAgentFactory(char const* name) {
#ifdef STUB_AGENT_RETURNS_NULL
  (void)name;
  return nullptr;
#else
  return Zel::allocate<StubAgent>(Zel::Name(name)).release();
#endif
}

#if defined(STUB_FRAMEWORK_VERSION)
extern "C" Warden::AgentAbi const wardenAgentAbi{sizeof(Warden::AgentAbi), STUB_FRAMEWORK_VERSION};
#elif !defined(STUB_WITHOUT_ABI)
WARDEN_AGENT_ABI_DESCRIPTOR;
#endif
