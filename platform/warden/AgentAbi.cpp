#include "platform/warden/AgentAbi.h"

namespace Warden {

char const* frameworkVersion() noexcept {
  return WARDEN_FRAMEWORK_VERSION;
}

}  // namespace Warden
