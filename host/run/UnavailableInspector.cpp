#include "host/run/AgentInspector.h"

namespace Host {

namespace {

// Stands in where the host is built without the generic interface: every question is answered
// with a clear refusal instead of a guess.
class UnavailableInspector : public AgentInspector {
 public:
  bool hasMachine(Zel::Name const&) const override {
    throw Unavailable("introspection not available: cannot look for the agent's state machines");
  }
  void describe(std::ostream&) const override {
    throw Unavailable("introspection not available: cannot describe the agent's objects");
  }
};

}  // namespace

std::unique_ptr<AgentInspector> makeUnavailableInspector() {
  return std::make_unique<UnavailableInspector>();
}

}  // namespace Host
