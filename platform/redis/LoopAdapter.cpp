#include "platform/redis/LoopAdapter.h"

// The client library's string header declares no C linkage of its own, and its other headers
// take it in: it comes first.
extern "C" {
#include <hiredis/sds.h>
}

#include <errno.h>
#include <hiredis/async.h>
#include <hiredis/hiredis.h>
#include <unistd.h>

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
  // Bytes at the front of the client's output already written. The client's own writer moves
  // everything behind what the socket took to the front of its buffer each time; a resync
  // queues megabytes that a full socket takes a few hundred kilobytes at a time, so that was
  // quadratic. Here the written part is dropped only once it is half the buffer.
  std::size_t sent = 0;
  // Held for the client's context until its cleanup, and by a queued write until it runs.
  std::shared_ptr<Attachment> self;
};

void addRead(void* data);
void delWrite(void* data);
void watchWritable(Attachment* a);

// Drops the written front of the output, so that the client's own writer finds only what is
// still to go.
void dropSent(Attachment* a) {
  if (a->sent == 0) return;
  sdsrange(a->context->c.obuf, static_cast<int>(a->sent), -1);
  a->sent = 0;
}

// Writes what the socket takes. True when it failed; the client has not been told yet.
bool writeSome(Attachment* a) {
  redisContext& c = a->context->c;
  std::size_t const length = sdslen(c.obuf);
  while (a->sent < length) {
    ssize_t const n = ::write(c.fd, c.obuf + a->sent, length - a->sent);
    if (n > 0) {
      a->sent += static_cast<std::size_t>(n);
    } else if (n < 0 && errno == EINTR) {
      continue;
    } else if (n < 0 && errno == EAGAIN) {
      break;
    } else {
      return true;
    }
  }
  if (a->sent == length) {
    // As the client does: a large buffer is not kept once it has gone out.
    sdsfree(c.obuf);
    c.obuf = sdsempty();
    a->sent = 0;
  } else if (a->sent > length / 2) {
    dropSent(a);
  }
  return false;
}

void handleWrite(Attachment* a) {
  redisAsyncContext* context = a->context;
  // A connect under way, or a failure: the client's own handler finishes the connect, or finds
  // the error and reports the connection lost.
  if ((context->c.flags & REDIS_CONNECTED) == 0 || context->c.err || writeSome(a)) {
    dropSent(a);
    redisAsyncHandleWrite(context);
    return;
  }
  if (sdslen(context->c.obuf) == 0) delWrite(a);
  addRead(a);
}

void watchWritable(Attachment* a) {
  if (a->watchingWrite) return;
  a->watchingWrite = true;
  redisAsyncContext* context = a->context;
  a->loop->fdWritableIs(a->fd,
                        [context] { handleWrite(static_cast<Attachment*>(context->ev.data)); });
}

void writeAtTurnEnd(Attachment* a) {
  a->writeQueued = false;
  if (a->detached || !a->writing) return;
  handleWrite(a);
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

void loopWriteEarly(redisAsyncContext* context) {
  auto* a = static_cast<Attachment*>(context->ev.data);
  if (!a || a->detached || (context->c.flags & REDIS_CONNECTED) == 0 || context->c.err) return;
  // A failure stays for the write at the end of the turn to find and report from the loop, not
  // from inside the callback of a reply being handled.
  writeSome(a);
}

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
