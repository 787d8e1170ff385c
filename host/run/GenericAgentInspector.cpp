#include <exception>

#include "host/run/AgentInspector.h"
#include "platform/zel/generic/Access.h"
#include "platform/zel/generic/Describe.h"

namespace Host {

namespace {

// Looks inside the agent through the framework's generic interface only: the agent's
// `configReactor` and that reactor's `gpioLedStateMachine` collection, by attribute name.
class GenericAgentInspector : public AgentInspector {
 public:
  explicit GenericAgentInspector(Zel::Ptr<Warden::CAgent> agent) : agent_(std::move(agent)) {}

  bool hasMachine(Zel::Name const& led) const override {
    if (!agent_) throw Unavailable("no agent to inspect");
    try {
      Zel::Ptr<Zel::PtrInterface> const reactor =
          Zel::GenericIf::get(*agent_, "configReactor").asObject();
      if (!reactor) return false;
      return static_cast<bool>(
          Zel::GenericIf::get(*reactor, "gpioLedStateMachine", led).asObject());
    } catch (std::exception const& error) {
      throw Unavailable(std::string("cannot inspect the agent: ") + error.what());
    }
  }

  void describe(std::ostream& out) const override {
    if (!agent_) throw Unavailable("no agent to inspect");
    try {
      Zel::GenericIf::describe(out, *agent_);
    } catch (std::exception const& error) {
      throw Unavailable(std::string("cannot describe the agent: ") + error.what());
    }
  }

 private:
  Zel::Ptr<Warden::CAgent> agent_;
};

}  // namespace

std::unique_ptr<AgentInspector> makeGenericAgentInspector(Zel::Ptr<Warden::CAgent> const& agent) {
  return std::make_unique<GenericAgentInspector>(agent);
}

}  // namespace Host
