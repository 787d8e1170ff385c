// The plug-in's one trace facility, "Pinlamp", at the bottom of the plug-in so that every layer
// above may trace. Every record carries the source name "Pinlamp", a line number and the function
// name; nothing is formatted unless the level is enabled.
#pragma once

#include "platform/zel/Trace.h"

namespace Pinlamp {

// Made on first use, once per process, and kept until exit.
Zel::TraceHandle const& traceHandle();

}  // namespace Pinlamp

#define PINLAMP_TRACE(level, line, function, text) \
  ZEL_TRACE(::Pinlamp::traceHandle(), (level), "Pinlamp", (line), (function), text)
