// A bare agent plug-in for the loader's tests: it exports the factory and does nothing else.
// Built a second time with STUB_AGENT_RETURNS_NULL for a factory that fails to make an agent.
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
