#include "platform/redis/Connection.h"

// The client library's string header declares no C linkage of its own, and its other headers
// take it in: it comes first.
extern "C" {
#include <hiredis/sds.h>
}

#include <hiredis/async.h>
#include <hiredis/hiredis.h>
#include <signal.h>

#include <algorithm>
#include <charconv>
#include <memory>
#include <vector>

#include "platform/redis/LoopAdapter.h"
#include "platform/zel/ActivityManager.h"

namespace Statedb::Redis {

Connection::Connection(Zel::ActivityManager& loop, Closed onClosed)
    : loop_(loop), onClosed_(std::move(onClosed)) {}

Connection::~Connection() {
  close();
}

void ignoreBrokenPipes() {
  // The client library writes with write(2): a server that went away would end the process with
  // SIGPIPE instead of reporting a lost connection.
  static bool const ignored = [] {
    struct sigaction action {};
    action.sa_handler = SIG_IGN;
    return ::sigaction(SIGPIPE, &action, nullptr) == 0;
  }();
  (void)ignored;
}

bool Connection::open(Endpoint const& endpoint, std::string const* password, bool selectDb,
                      std::string& error) {
  close();
  ignoreBrokenPipes();
  redisAsyncContext* context = endpoint.kind == Endpoint::Kind::unixSocket
                                   ? redisAsyncConnectUnix(endpoint.path.c_str())
                                   : redisAsyncConnect(endpoint.host.c_str(), endpoint.port);
  if (!context) {
    error = "out of memory";
    return false;
  }
  if (context->err) {
    error = context->errstr;
    redisAsyncFree(context);
    return false;
  }
  context->data = this;
  // The reader keeps its buffer between replies: giving back a large idle buffer after every
  // batch makes the allocator consolidate all its small free chunks each time.
  context->c.reader->maxbuf = 0;
  replies_.attachTo(*context->c.reader);
  loopAttach(loop_, context);
  redisAsyncSetConnectCallback(context, &Connection::onConnect);
  redisAsyncSetDisconnectCallback(context, &Connection::onDisconnect);
  context_ = context;
  if (password) {
    std::vector<std::string_view> auth{"AUTH"};
    if (!endpoint.user.empty()) auth.push_back(endpoint.user);
    auth.push_back(*password);
    commandArgv(auth, [this](Reply reply) {
      // The server's text never repeats the password.
      if (reply.isError()) {
        std::string const reason = "authentication refused: " + std::string(reply.text());
        close();
        reportClosed(reason);
      }
    });
  }
  if (selectDb && endpoint.db != 0) {
    command({"SELECT", std::to_string(endpoint.db)}, nullptr);
  }
  return true;
}

void Connection::close() {
  redisAsyncContext* context = context_;
  if (!context) return;
  context_ = nullptr;
  context->data = nullptr;  // its disconnect is ours, not to be reported
  redisAsyncFree(context);
}

namespace {

void appendLength(std::string& wire, char kind, std::size_t length) {
  char digits[24];
  auto const end = std::to_chars(digits, digits + sizeof digits, length).ptr;
  wire += kind;
  wire.append(digits, end);
  wire += "\r\n";
}

}  // namespace

bool Connection::send(std::span<std::string_view const> args,
                      void (*trampoline)(redisAsyncContext*, void*, void*), void* data) {
  if (!context_) return false;
  // Written out here rather than by the client library, whose general formatter costs several
  // times more per command: a resync queues hundreds of thousands of them.
  wire_.clear();
  appendLength(wire_, '*', args.size());
  for (std::string_view const arg : args) {
    appendLength(wire_, '$', arg.size());
    wire_.append(arg);
    wire_ += "\r\n";
  }
  reserveOutput(wire_.size());
  if (redisAsyncFormattedCommand(context_, trampoline, data, wire_.data(), wire_.size()) !=
      REDIS_OK) {
    return false;
  }
  sendEarly();
  return true;
}

void Connection::reserveOutput(std::size_t bytes) {
  // The client library grows its output buffer a megabyte at a time past the first, copying it
  // each time, and starts from nothing after every write: doubled here, a batch of a resync
  // costs a few copies rather than one per megabyte queued.
  sds& out = context_->c.obuf;
  std::size_t const length = sdslen(out);
  if (length == 0) sendAt_ = kEarlySend;  // the socket took everything queued before
  if (sdsavail(out) >= bytes) return;
  if (sds grown = sdsMakeRoomFor(out, std::max(bytes, length))) out = grown;
}

void Connection::sendEarly() {
  // A turn that queues a whole table's reads hands them to the socket as they pile up: the
  // server works through the first while the rest are queued, and a write that the socket takes
  // only in part moves a bounded remainder, not the whole batch.
  redisContext& c = context_->c;
  if (!(c.flags & REDIS_CONNECTED) || sdslen(c.obuf) < sendAt_) return;
  loopWriteEarly(context_);
  // A full socket is tried again only once as much more has been queued.
  sendAt_ = sdslen(c.obuf) + kEarlySend;
}

bool Connection::command(std::initializer_list<std::string_view> args, ReplyHandler reply) {
  return commandArgv(std::span<std::string_view const>(args.begin(), args.size()),
                     std::move(reply));
}

bool Connection::commandArgv(std::span<std::string_view const> args, ReplyHandler reply) {
  if (!reply) return send(args, nullptr, nullptr);
  auto* held = new ReplyHandler(std::move(reply));
  if (send(args, &Connection::onReply, held)) return true;
  delete held;
  return false;
}

bool Connection::command(std::initializer_list<std::string_view> args, Receiver& receiver) {
  return send(std::span<std::string_view const>(args.begin(), args.size()), &Connection::onReceived,
              &receiver);
}

bool Connection::subscribe(std::string_view verb, std::string_view channel) {
  std::string_view const args[] = {verb, channel};
  return send(args, &Connection::onSubscription, this);
}

void Connection::onReply(redisAsyncContext*, void* reply, void* data) {
  std::unique_ptr<ReplyHandler> held(static_cast<ReplyHandler*>(data));
  // A null reply is a reply that will never come: the connection is going.
  if (reply && *held) (*held)(Reply(*static_cast<redisReply*>(reply)));
}

void Connection::onReceived(redisAsyncContext*, void* reply, void* data) {
  if (reply) static_cast<Receiver*>(data)->onReply(Reply(*static_cast<redisReply*>(reply)));
}

void Connection::onSubscription(redisAsyncContext* context, void* reply, void* data) {
  if (!reply || context->data != data) return;
  auto* self = static_cast<Connection*>(data);
  if (self->onMessage_) self->onMessage_(Reply(*static_cast<redisReply*>(reply)));
}

void Connection::onConnect(redisAsyncContext const* context, int status) {
  auto* self = static_cast<Connection*>(context->data);
  // A failed connect frees the context without a disconnect callback.
  if (!self || status == REDIS_OK) return;
  self->context_ = nullptr;
  self->reportClosed(context->errstr[0] ? context->errstr : "cannot connect");
}

void Connection::onDisconnect(redisAsyncContext const* context, int) {
  auto* self = static_cast<Connection*>(context->data);
  if (!self) return;
  self->context_ = nullptr;
  self->reportClosed(context->err && context->errstr[0] ? context->errstr : "connection lost");
}

void Connection::reportClosed(std::string const& reason) {
  // Reported from the loop: the client library may still be unwinding the context.
  loop_.taskIs([weak = weak_.weakPtr(), reason] {
    if (Connection* self = weak.get(); self && self->onClosed_) self->onClosed_(reason);
  });
}

}  // namespace Statedb::Redis
