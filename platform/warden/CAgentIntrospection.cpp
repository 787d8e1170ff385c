// The generic interface of the agent base: the framework's own agent state that a tool may read,
// and the start-up stages that a host drives, invocable by name. Agents list their own attributes
// after these and may take over a stage's entry with their own.
#include "platform/statedb/EntityManager.h"
#include "platform/warden/CAgent.h"
#include "platform/warden/MountStatusValue.h"
#include "platform/zel/Exception.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Warden {
namespace {

using namespace Zel::GenericIf;

enum Position : std::size_t {
  name,
  entityManager,
  mountStatus,
  agentPingResponderEnabled,
  agentSyncConfigEnabled,
  doPreInit,
  doInit,
  doMountsComplete,
  handleMountStatus,
  doUpdateWarm,
  handleFlushEntityLogComplete,
};

Reply dispatchAgent(Zel::PtrInterface& object, std::size_t position, Request const& request) {
  auto& agent = objectAs<CAgent>(object);
  Arguments const& args = request.args();
  switch (position) {
    case name:
      return Reply::of(agent.name());
    case entityManager:
      return Reply::of(agent.entityManager());
    case mountStatus:
      return Reply::of(Statedb::toString(agent.mountStatus()));
    case agentPingResponderEnabled:
      return Reply::of(agent.agentPingResponderEnabled());
    case agentSyncConfigEnabled:
      return Reply::of(agent.agentSyncConfigEnabled());
    case doPreInit:
      agent.doPreInit();
      return Reply::done();
    case doInit:
      agent.doInit();
      return Reply::done();
    case doMountsComplete:
      agent.doMountsComplete(mountStatusOf(args.at(0, "status")),
                             args.at(1, "entityManager").asPtr<Statedb::EntityManager>());
      return Reply::done();
    case handleMountStatus:
      agent.handleMountStatus(mountStatusOf(args.at(0, "status")));
      return Reply::done();
    case doUpdateWarm:
      agent.doUpdateWarm();
      return Reply::done();
    case handleFlushEntityLogComplete:
      agent.handleFlushEntityLogComplete();
      return Reply::done();
  }
  return Reply::notHandled();
}

constexpr Operations kGet{Operation::get};
AttributeTable const table(
    CAgent::type(),
    {
        valueAttribute("name", "Zel::Name", kGet),
        pointerAttribute("entityManager", "Statedb::EntityManager", kGet),
        valueAttribute("mountStatus", "Statedb::MountStatus", kGet),
        valueAttribute("agentPingResponderEnabled", "bool", kGet),
        valueAttribute("agentSyncConfigEnabled", "bool", kGet),
        procedureAttribute("doPreInit"),
        procedureAttribute("doInit"),
        procedureAttribute("doMountsComplete", {{"status", "Statedb::MountStatus"},
                                                {"entityManager", "Statedb::EntityManager"}}),
        procedureAttribute("handleMountStatus", {{"status", "Statedb::MountStatus"}}),
        procedureAttribute("doUpdateWarm"),
        procedureAttribute("handleFlushEntityLogComplete"),
    },
    &dispatchAgent);
TableRegistration const registration(table);

}  // namespace

Statedb::MountStatus mountStatusOf(Zel::GenericIf::Value const& value) {
  using Zel::GenericIf::Value;
  for (Statedb::MountStatus status : {Statedb::mountSuccess_, Statedb::mountFailure_}) {
    bool const isText = value.kind() == Value::Kind::string || value.kind() == Value::Kind::name;
    if (isText ? value.asString() == Statedb::toString(status) : value.asInt() == status) {
      return status;
    }
  }
  Zel::throwRangeException(("not a mount status: " + value.text()).c_str());
}

}  // namespace Warden
