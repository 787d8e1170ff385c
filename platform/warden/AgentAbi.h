// The descriptor that tells a host which framework an agent plug-in was built against. The
// plug-in and the host share the framework's classes by layout, so a plug-in built against
// another version would crash on its first call; the host reads the descriptor before it calls
// anything in the plug-in and refuses a mismatch. A plug-in declares it with
// WARDEN_AGENT_ABI_DESCRIPTOR at namespace scope in one of its files.
#pragma once

#include <cstdint>

#include "platform/warden/FrameworkVersion.h"
#include "platform/zel/Export.h"

namespace Warden {

// C layout, so that a host can read a descriptor of any version. Fields are only ever added at
// the end; descriptorSize says which a plug-in has.
struct AgentAbi {
  std::uint32_t descriptorSize;
  char const* frameworkVersion;  // such as "0.1.0"
};

inline constexpr char kAgentAbiSymbol[] = "wardenAgentAbi";

// The version of the framework library running in this process.
char const* frameworkVersion() noexcept;

}  // namespace Warden

#define WARDEN_AGENT_ABI_DESCRIPTOR                             \
  extern "C" ZEL_EXPORT Warden::AgentAbi const wardenAgentAbi { \
    sizeof(Warden::AgentAbi), WARDEN_FRAMEWORK_VERSION          \
  }
