// One client connection to the database server, driven from the activity loop. Commands are
// queued with a reply callback (or none) and written in one batch as the loop turn ends, which
// pipelines everything issued within the turn; a turn that queues more than a bounded amount
// hands it to the socket as it goes. A connection that breaks reports it once,
// from the loop, never from inside the client library; replies still owed are dropped, since
// whoever issued them starts over on reconnect.
#pragma once

#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "platform/redis/Endpoint.h"
#include "platform/redis/Reply.h"
#include "platform/redis/ReplyArena.h"
#include "platform/zel/WeakPtr.h"

struct redisAsyncContext;

namespace Zel {
class ActivityManager;
}

namespace Statedb::Redis {

class Connection {
 public:
  using ReplyHandler = std::function<void(Reply reply)>;
  // Takes the replies of many commands without a callback allocated for each: replies come in
  // the order the commands went, so a receiver that queues what it asked knows what each answers.
  // A connection that closes drops the replies still owed without a word; the receiver starts
  // over with the next connection.
  class Receiver {
   public:
    virtual void onReply(Reply reply) = 0;

   protected:
    ~Receiver() = default;
  };
  using Closed = std::function<void(std::string const& reason)>;

  Connection(Zel::ActivityManager& loop, Closed onClosed);
  ~Connection();
  Connection(Connection const&) = delete;
  Connection& operator=(Connection const&) = delete;

  // Starts connecting; the connection counts as open at once and commands may be queued. AUTH
  // (when `password` is set) and SELECT (when `selectDb`) go first. False with `error` set when
  // the attempt fails at once.
  bool open(Endpoint const& endpoint, std::string const* password, bool selectDb,
            std::string& error);
  // Drops the connection without reporting it.
  void close();
  bool isOpen() const noexcept { return context_ != nullptr; }

  // Queues a command; false when the connection is closed. A null `reply` costs no allocation:
  // its reply is dropped as it arrives, which suits writes of which only the outcome of the
  // whole batch matters.
  bool command(std::initializer_list<std::string_view> args, ReplyHandler reply);
  bool commandArgv(std::span<std::string_view const> args, ReplyHandler reply);
  bool command(std::initializer_list<std::string_view> args, Receiver& receiver);
  // Subscribes (SUBSCRIBE or PSUBSCRIBE) to `channel`: the confirmation and every message
  // arrive at `onMessage`, which outlives the connection's context.
  bool subscribe(std::string_view verb, std::string_view channel);
  void messageHandlerIs(ReplyHandler onMessage) { onMessage_ = std::move(onMessage); }

 private:
  static void onReply(redisAsyncContext* context, void* reply, void* data);
  static void onReceived(redisAsyncContext* context, void* reply, void* data);
  static void onSubscription(redisAsyncContext* context, void* reply, void* data);
  static void onConnect(redisAsyncContext const* context, int status);
  static void onDisconnect(redisAsyncContext const* context, int status);
  void reportClosed(std::string const& reason);
  bool send(std::span<std::string_view const> args,
            void (*trampoline)(redisAsyncContext*, void*, void*), void* data);
  void reserveOutput(std::size_t bytes);
  void sendEarly();

  // Output queued beyond this much within one turn is written at once.
  static constexpr std::size_t kEarlySend = 256 * 1024;

  Zel::ActivityManager& loop_;
  Closed onClosed_;
  ReplyHandler onMessage_;
  redisAsyncContext* context_ = nullptr;
  // Outlives each context: the client library hands back what it decoded when it frees one.
  ReplyArena replies_;
  // The wire form of the command being queued; kept to reuse its capacity.
  std::string wire_;
  std::size_t sendAt_ = kEarlySend;  // output length at which the next early write is tried
  // Last: a deferred report finds out whether this connection still exists.
  Zel::WeakPtrFactory<Connection> weak_{this};
};

// Makes writes to a closed socket fail rather than end the process; idempotent.
void ignoreBrokenPipes();

}  // namespace Statedb::Redis
