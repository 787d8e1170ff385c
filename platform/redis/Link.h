// The agent's link to the database server: a command connection and a subscriber connection
// that come and go together. The link is up once both are connected and every subscription is
// confirmed, so that nothing published afterwards can be missed; only then does its listener
// read anything. While the server is unreachable it retries with a capped back-off and logs the
// loss and the recovery once each. A periodic PING with a time-out notices a hung server. A
// server that answers but cannot serve yet (loading its data after a restart) is one condition:
// said once, waited out with a question now and then, and the link comes up once it serves.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/redis/Connection.h"
#include "platform/redis/Endpoint.h"
#include "platform/redis/LogRecord.h"
#include "platform/zel/Timer.h"
#include "platform/zel/WeakPtr.h"

namespace Statedb::Redis {

struct LinkSettings {
  double keepalive = 5.0;   // seconds between PINGs while idle
  double timeout = 2.0;     // for a PING, a connect or a handshake to be answered
  double backoffMin = 0.1;  // first retry after a loss
  double backoffMax = 5.0;  // retries never wait longer
};

class Link {
 public:
  class Listener {
   public:
    virtual void onLinkUp() = 0;
    virtual void onLinkDown() = 0;
    // A key of a followed table was touched by `event` ("hset", "del", ...): its keyspace
    // notification arrived.
    virtual void onKeyTouched(std::string_view key, std::string_view event) = 0;

   protected:
    ~Listener() = default;
  };

  // `tables` are the key prefixes whose keyspace notifications are followed.
  Link(Zel::ActivityManager& loop, Endpoint endpoint, std::vector<std::string> tables,
       LinkSettings settings, Log log);
  Link(Link const&) = delete;
  Link& operator=(Link const&) = delete;

  void listenerIs(Listener* listener) noexcept { listener_ = listener; }
  void start();
  bool isUp() const noexcept { return state_ == State::up; }
  Endpoint const& endpoint() const noexcept { return endpoint_; }

  // Queues a command on the command connection; false while the link is down.
  bool command(std::initializer_list<std::string_view> args, Connection::ReplyHandler reply);
  bool command(std::initializer_list<std::string_view> args, Connection::Receiver& receiver);
  // Queues a write whose answer only matters when it is an error: a server that cannot serve
  // yet takes the link down (see commandFailed), any other refusal is logged once a connection.
  bool write(std::initializer_list<std::string_view> args);
  // A command of a table's whole read, or a read the server would answer in other times, was
  // answered with `reply`, an error: the link is taken down and comes up again once the server
  // serves, so that its listener starts over rather than take a failed read for an empty table.
  void commandFailed(Reply reply);
  // The listener's whole read of its tables went through: a refusal before it is over.
  void wholeReadDone();
  // Calls `done` once every keyspace notification that the server sent before now has been
  // handed to the listener: a message published to this link's own channel comes back on the
  // subscriber connection behind them. Survives an outage (sent again once up).
  void probe(std::function<void()> done);
  std::string const& probeChannel() const noexcept { return probeChannel_; }

 private:
  enum class State { idle, connecting, up, down };
  class WriteCheck final : public Connection::Receiver {
   public:
    explicit WriteCheck(Link& link) : link_(link) {}
    void onReply(Reply reply) override;

   private:
    Link& link_;
  };

  void connect();
  void fail(std::string const& reason);
  void retry();
  void handshakePing();
  void handshakeAnswered(Reply reply);
  void handshakeDone();
  void notServing(std::string const& reason);
  void takenDown(std::string const& reason, bool later);
  void subscriptionConfirmed();
  void maybeUp();
  void checkNotifyFlags();
  void onMessage(Reply reply);
  void say(Severity severity, std::string text) { log_({severity, {}, std::move(text)}); }
  void keepalive();
  void sendProbe(std::uint64_t token);

  Zel::ActivityManager& loop_;
  Endpoint endpoint_;
  std::vector<std::string> tables_;
  LinkSettings settings_;
  Log log_;
  Listener* listener_ = nullptr;
  Connection commands_;
  Connection subscriber_;
  Zel::Timer retryTimer_;
  Zel::Timer keepaliveTimer_;
  Zel::Timer timeoutTimer_;
  Zel::Timer servingTimer_;  // the next question to a server that does not serve yet
  WriteCheck writeCheck_{*this};
  State state_ = State::idle;
  bool handshakeDone_ = false;
  std::size_t confirmationsOwed_ = 0;
  bool everUp_ = false;
  bool lossLogged_ = false;
  bool notServingLogged_ = false;
  bool refused_ = false;  // the last time up ended in a refused read
  bool writeErrorLogged_ = false;
  double backoff_ = 0.0;
  double downSince_ = 0.0;
  std::string keyspacePrefix_;
  std::string probeChannel_;
  std::uint64_t nextProbe_ = 1;
  std::deque<std::pair<std::uint64_t, std::function<void()>>> probes_;
  // Last: a deferred take-down finds out whether this link still exists.
  Zel::WeakPtrFactory<Link> weak_{this};
};

}  // namespace Statedb::Redis
