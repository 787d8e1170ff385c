// Drives one asynchronous client context from the activity loop: the client asks for read and
// write readiness of its socket through the adapter hooks, and the loop calls back into the
// client when the socket is ready. Output of a connected socket is written as the turn ends
// without waiting for a readiness report; only a full socket waits for one. No second event
// library and no thread.
#pragma once

struct redisAsyncContext;

namespace Zel {
class ActivityManager;
}

namespace Statedb::Redis {

// Attaches `context` to `loop` until the client frees the context (its cleanup hook detaches).
// Returns false when the context already has an event loop.
bool loopAttach(Zel::ActivityManager& loop, redisAsyncContext* context);

// Hands the socket what it takes of the output queued so far, in the middle of a turn. A failed
// write is reported by the write at the end of the turn.
void loopWriteEarly(redisAsyncContext* context);

}  // namespace Statedb::Redis
