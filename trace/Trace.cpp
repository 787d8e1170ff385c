#include "trace/Trace.h"

namespace Pinlamp {

Zel::TraceHandle const& traceHandle() {
  static Zel::TraceHandle const* handle = new Zel::TraceHandle("Pinlamp", false);
  return *handle;
}

}  // namespace Pinlamp
