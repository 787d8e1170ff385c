// Reading a mount status out of a generic-interface value, for the introspection tables of
// agents: given as its text ("mountSuccess_") or its number.
#pragma once

#include "platform/statedb/Mount.h"
#include "platform/zel/generic/Value.h"

namespace Warden {

// A range error for anything that names no mount status.
Statedb::MountStatus mountStatusOf(Zel::GenericIf::Value const& value);

}  // namespace Warden
