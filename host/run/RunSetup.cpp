#include "host/run/RunSetup.h"

#include "host/run/AgentProfile.h"
#include "platform/cell/Cell.h"

namespace Host {

RunSetup::RunSetup(Options const& options, std::ostream& traceOut)
    : options_(options), traces_(kAgentTraceFacility, traceOut) {
  Cell::cellIdIs(options.cell);
  Zel::traceSinkIs(&traces_);
  try {
    plugin_ = openAgentPlugin(options.agentPath);
  } catch (AgentPlugin::Error const& error) {
    loadError_ = error.what();
  }
}

RunSetup::~RunSetup() {
  Zel::traceSinkIs(nullptr);
}

void RunSetup::traceLevelsIs(std::uint32_t recordedAgentLevels) {
  for (auto const& [facility, levels] : options_.traces) traces_.printedLevelsIs(facility, levels);
  traces_.recordedLevelsIs(recordedAgentLevels);
}

AgentFactory RunSetup::agentFactory() const {
  return [this](std::string const& name) { return plugin_.value().createAgent(name); };
}

}  // namespace Host
