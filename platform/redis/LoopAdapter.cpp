#include "platform/redis/LoopAdapter.h"

#include <hiredis/async.h>
#include <hiredis/hiredis.h>

#include <memory>

#include "platform/zel/ActivityManager.h"

namespace Statedb::Redis {

namespace {

struct Attachment {
  Zel::ActivityManager* loop = nullptr;
  redisAsyncContext* context = nullptr;
  int fd = -1;
  // The client asks for write readiness on every command it queues; the loop is told only
  // when the watch changes, not once per command.
  bool reading = false;
  bool writing = false;        // the client has output to send
  bool watchingWrite = false;  // waiting for the socket to take more
  bool writeQueued = false;    // a write at the end of this turn is queued
  bool detached = false;       // the client freed its context
  // Held for the client's context until its cleanup, and by a queued write until it runs.
  std::shared_ptr<Attachment> self;
};

void watchWritable(Attachment* a) {
  if (a->watchingWrite) return;
  a->watchingWrite = true;
  redisAsyncContext* context = a->context;
  a->loop->fdWritableIs(a->fd, [context] { redisAsyncHandleWrite(context); });
}

void writeAtTurnEnd(Attachment* a) {
  a->writeQueued = false;
  if (a->detached || !a->writing) return;
  redisAsyncHandleWrite(a->context);
  // Not all of it went: the socket is full until the server reads.
  if (!a->detached && a->writing) watchWritable(a);
}

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
  // A connected socket nearly always takes output: the turn's commands go out in one write as
  // soon as the turn ends, rather than a turn later when the loop has been told it may write.
  // A connect still under way is finished by the loop's writability report.
  if ((a->context->c.flags & REDIS_CONNECTED) == 0) return watchWritable(a);
  if (a->writeQueued) return;
  a->writeQueued = true;
  a->loop->turnEndTaskIs([keep = a->self] { writeAtTurnEnd(keep.get()); });
}

void delWrite(void* data) {
  auto* a = static_cast<Attachment*>(data);
  a->writing = false;
  if (!a->watchingWrite) return;
  a->watchingWrite = false;
  a->loop->fdWritableIs(a->fd, nullptr);
}

void cleanup(void* data) {
  auto* a = static_cast<Attachment*>(data);
  a->loop->fdReadableIs(a->fd, nullptr);
  a->loop->fdWritableIs(a->fd, nullptr);
  a->detached = true;
  auto const last = std::move(a->self);
}

}  // namespace

bool loopAttach(Zel::ActivityManager& loop, redisAsyncContext* context) {
  if (context->ev.data != nullptr) return false;
  auto attachment = std::make_shared<Attachment>();
  attachment->loop = &loop;
  attachment->context = context;
  attachment->fd = context->c.fd;
  attachment->self = attachment;
  context->ev.data = attachment.get();
  context->ev.addRead = addRead;
  context->ev.delRead = delRead;
  context->ev.addWrite = addWrite;
  context->ev.delWrite = delWrite;
  context->ev.cleanup = cleanup;
  return true;
}

}  // namespace Statedb::Redis
