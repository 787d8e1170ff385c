#include "platform/statedb/redis/LoopAdapter.h"

#include <hiredis/async.h>

#include "platform/zel/ActivityManager.h"

namespace Statedb::Redis {

namespace {

struct Attachment {
  Zel::ActivityManager* loop;
  redisAsyncContext* context;
  int fd;
  // The client asks for write readiness on every command it queues; the loop is told only
  // when the watch changes, not once per command.
  bool reading = false;
  bool writing = false;
};

void addRead(void* data) {
  auto* a = static_cast<Attachment*>(data);
  if (a->reading) return;
  a->reading = true;
  redisAsyncContext* context = a->context;
  a->loop->fdReadableIs(a->fd, [context] { redisAsyncHandleRead(context); });
}

void delRead(void* data) {
  auto* a = static_cast<Attachment*>(data);
  if (!a->reading) return;
  a->reading = false;
  a->loop->fdReadableIs(a->fd, nullptr);
}

void addWrite(void* data) {
  auto* a = static_cast<Attachment*>(data);
  if (a->writing) return;
  a->writing = true;
  redisAsyncContext* context = a->context;
  a->loop->fdWritableIs(a->fd, [context] { redisAsyncHandleWrite(context); });
}

void delWrite(void* data) {
  auto* a = static_cast<Attachment*>(data);
  if (!a->writing) return;
  a->writing = false;
  a->loop->fdWritableIs(a->fd, nullptr);
}

void cleanup(void* data) {
  auto* a = static_cast<Attachment*>(data);
  a->loop->fdReadableIs(a->fd, nullptr);
  a->loop->fdWritableIs(a->fd, nullptr);
  delete a;
}

}  // namespace

bool loopAttach(Zel::ActivityManager& loop, redisAsyncContext* context) {
  if (context->ev.data != nullptr) return false;
  context->ev.data = new Attachment{&loop, context, context->c.fd};
  context->ev.addRead = addRead;
  context->ev.delRead = delRead;
  context->ev.addWrite = addWrite;
  context->ev.delWrite = delWrite;
  context->ev.cleanup = cleanup;
  return true;
}

}  // namespace Statedb::Redis
