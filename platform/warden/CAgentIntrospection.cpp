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

constexpr Operations kGet{Operation::get};
AttributeTable const table(
    CAgent::type(),
    Rows<CAgent>{
        {valueAttribute("name", "Zel::Name", kGet),
         [](CAgent& agent, Request const&) { return Reply::of(agent.name()); }},
        {pointerAttribute("entityManager", "Statedb::EntityManager", kGet),
         [](CAgent& agent, Request const&) { return Reply::of(agent.entityManager()); }},
        {valueAttribute("mountStatus", "Statedb::MountStatus", kGet),
         [](CAgent& agent, Request const&) {
           return Reply::of(Statedb::toString(agent.mountStatus()));
         }},
        {valueAttribute("agentPingResponderEnabled", "bool", kGet),
         [](CAgent& agent, Request const&) {
           return Reply::of(agent.agentPingResponderEnabled());
         }},
        {valueAttribute("agentSyncConfigEnabled", "bool", kGet),
         [](CAgent& agent, Request const&) { return Reply::of(agent.agentSyncConfigEnabled()); }},
        {procedureAttribute("doPreInit"),
         [](CAgent& agent, Request const&) {
           agent.doPreInit();
           return Reply::done();
         }},
        {procedureAttribute("doInit"),
         [](CAgent& agent, Request const&) {
           agent.doInit();
           return Reply::done();
         }},
        {procedureAttribute("doMountsComplete", {{"status", "Statedb::MountStatus"},
                                                 {"entityManager", "Statedb::EntityManager"}}),
         [](CAgent& agent, Request const& request) {
           agent.doMountsComplete(mountStatusOf(request.arg(0)),
                                  request.arg(1).asPtr<Statedb::EntityManager>());
           return Reply::done();
         }},
        {procedureAttribute("handleMountStatus", {{"status", "Statedb::MountStatus"}}),
         [](CAgent& agent, Request const& request) {
           agent.handleMountStatus(mountStatusOf(request.arg(0)));
           return Reply::done();
         }},
        {procedureAttribute("doUpdateWarm"),
         [](CAgent& agent, Request const&) {
           agent.doUpdateWarm();
           return Reply::done();
         }},
        {procedureAttribute("handleFlushEntityLogComplete"),
         [](CAgent& agent, Request const&) {
           agent.handleFlushEntityLogComplete();
           return Reply::done();
         }},
    });
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
