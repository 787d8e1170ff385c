// The plug-in's entry points. A host creates the agent through agentFactory (C++), or finds the
// C-linkage wardenAgentFactory with dlsym by its plain name.
#pragma once

#include "agent/Agent.h"
#include "platform/zel/Export.h"

namespace Pinlamp {

// Allocates the agent under `name`; a range error "null ValidPtr" if no object results.
ZEL_EXPORT Zel::Ptr<Agent> agentFactory(Zel::Name name);

// The type's creation hook: creates an agent by name for a directory (which it ignores).
ZEL_EXPORT Zel::Ptr<Zel::Entity> newEntityForDir(Zel::Name const& name, Zel::Dir* dir);

}  // namespace Pinlamp

extern "C" {
// Creates the agent under `name` and returns it with one reference that the caller owns (adopt it
// into a Zel::Ptr). Exceptions do not cross this boundary: null on failure.
ZEL_EXPORT Warden::CAgent* wardenAgentFactory(char const* name);
}
