#include "platform/statedb/redis/Link.h"

#include <hiredis/hiredis.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>

#include "platform/zel/ActivityManager.h"

namespace Statedb::Redis {

namespace {

// Keyspace events the link relies on: K (keyspace channel), g (DEL, RENAME, EXPIRE), h (hash
// commands), x (expiry). 'A' stands for every class but K.
std::string missingNotifyFlags(std::string const& have) {
  std::string missing;
  if (have.find('K') == std::string::npos) missing += 'K';
  if (have.find('A') != std::string::npos) return missing;
  for (char flag : {'g', 'h', 'x'}) {
    if (have.find(flag) == std::string::npos) missing += flag;
  }
  return missing;
}

// How often a server that answers but does not serve yet is asked again.
constexpr double kServingPoll = 0.2;

std::string seconds(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1fs", value);
  return text;
}

}  // namespace

Link::Link(Zel::ActivityManager& loop, Endpoint endpoint, std::vector<std::string> tables,
           LinkSettings settings, Log log)
    : loop_(loop),
      endpoint_(std::move(endpoint)),
      tables_(std::move(tables)),
      settings_(settings),
      log_(std::move(log)),
      commands_(loop, [this](std::string const& reason) { fail(reason); }),
      subscriber_(loop, [this](std::string const& reason) { fail(reason); }),
      retryTimer_(loop, [this] { connect(); }),
      keepaliveTimer_(loop, [this] { keepalive(); }),
      timeoutTimer_(loop, [this] { fail("no answer within " + seconds(settings_.timeout)); }),
      servingTimer_(loop, [this] { handshakePing(); }),
      keyspacePrefix_("__keyspace@" + std::to_string(endpoint_.db) + "__:") {
  static std::uint64_t linkCount = 0;
  probeChannel_ = "pinlamp:probe:" + std::to_string(::getpid()) + ":" + std::to_string(++linkCount);
  subscriber_.messageHandlerIs([this](redisReply const& reply) { onMessage(reply); });
  backoff_ = settings_.backoffMin;
}

Link::~Link() {
  *alive_ = false;
}

void Link::start() {
  if (state_ == State::idle) connect();
}

void Link::connect() {
  state_ = State::connecting;
  handshakeDone_ = false;
  confirmationsOwed_ = 0;
  std::string error;
  std::optional<std::string> password;
  if (endpoint_.hasCredentials()) {
    password = passwordFrom(endpoint_.passwordFile, error);
    if (!password) return fail(error);
  }
  std::string const* secret = password ? &*password : nullptr;
  if (!commands_.open(endpoint_, secret, true, error) ||
      !subscriber_.open(endpoint_, secret, false, error)) {
    return fail(error);
  }
  timeoutTimer_.armIn(settings_.timeout);
  checkNotifyFlags();
  // The handshake ends with the answer to this question, behind AUTH, SELECT and the flag check.
  handshakePing();
  for (auto const& table : tables_) {
    if (subscriber_.subscribe("PSUBSCRIBE", keyspacePrefix_ + table + "|*")) ++confirmationsOwed_;
  }
  if (subscriber_.subscribe("SUBSCRIBE", probeChannel_)) ++confirmationsOwed_;
}

void Link::checkNotifyFlags() {
  commands_.command({"CONFIG", "GET", "notify-keyspace-events"}, [this](redisReply const& reply) {
    if (reply.type != REDIS_REPLY_ARRAY || reply.elements != 2) {
      if (!everUp_) {
        log_("statedb: cannot read notify-keyspace-events (" + replyText(reply) +
             "); the server must have at least \"Kghx\" set");
      }
      return;
    }
    std::string const have = replyText(*reply.element[1]);
    std::string const missing = missingNotifyFlags(have);
    if (missing.empty()) return;
    std::string const wanted = have + missing;
    commands_.command({"CONFIG", "SET", "notify-keyspace-events", wanted},
                      [this, have, wanted](redisReply const& set) {
                        log_(isError(set) ? "statedb: cannot set notify-keyspace-events to \"" +
                                                wanted + "\": " + replyText(set)
                                          : "statedb: notify-keyspace-events was \"" + have +
                                                "\", set to \"" + wanted + "\"");
                      });
  });
}

void Link::handshakePing() {
  if (state_ != State::connecting) return;
  // Not a PING, which a loading server answers: a one-step scan of a followed table is refused
  // until the server serves its data, and the link's reads are scans and reads like it.
  std::string const pattern = (tables_.empty() ? std::string("*") : tables_.front() + "|*");
  commands_.command({"SCAN", "0", "MATCH", pattern, "COUNT", "1"},
                    [this](redisReply const& reply) { handshakeAnswered(reply); });
}

void Link::handshakeAnswered(redisReply const& reply) {
  if (!isNotServingYet(reply)) return handshakeDone();
  // Answering, so not hung: the time-out starts again with each question.
  notServing(replyText(reply));
  timeoutTimer_.armIn(settings_.timeout);
  servingTimer_.armIn(kServingPoll);
}

void Link::notServing(std::string const& reason) {
  if (notServingLogged_) return;
  notServingLogged_ = true;
  if (!lossLogged_) downSince_ = loop_.currentTime();
  lossLogged_ = true;  // one condition: no second line for the loss it causes
  log_("statedb: " + endpoint_.describe() + " does not serve yet (" + reason +
       "); going on with what is known and waiting for it");
}

void Link::handshakeDone() {
  handshakeDone_ = true;
  maybeUp();
}

void Link::subscriptionConfirmed() {
  if (confirmationsOwed_ > 0 && --confirmationsOwed_ == 0) maybeUp();
}

void Link::maybeUp() {
  if (state_ != State::connecting || !handshakeDone_ || confirmationsOwed_ != 0) return;
  state_ = State::up;
  timeoutTimer_.disarm();
  if (!refused_) backoff_ = settings_.backoffMin;
  if (!everUp_) {
    log_("statedb: connected to " + endpoint_.describe());
  } else if (lossLogged_) {
    log_("statedb: reconnected to " + endpoint_.describe() + " after " +
         seconds(loop_.currentTime() - downSince_));
  }
  everUp_ = true;
  lossLogged_ = false;
  notServingLogged_ = false;
  writeErrorLogged_ = false;
  keepaliveTimer_.armIn(settings_.keepalive);
  if (listener_) listener_->onLinkUp();
  for (auto const& [token, done] : probes_) sendProbe(token);
}

void Link::fail(std::string const& reason) {
  if (state_ == State::down) return;
  bool const wasUp = state_ == State::up;
  state_ = State::down;
  commands_.close();
  subscriber_.close();
  timeoutTimer_.disarm();
  keepaliveTimer_.disarm();
  servingTimer_.disarm();
  if (!lossLogged_ && !refused_) {
    downSince_ = loop_.currentTime();
    log_(std::string("statedb: ") + (everUp_ ? "lost " : "cannot reach ") + endpoint_.describe() +
         ": " + reason + "; going on with what is known and retrying");
    lossLogged_ = true;
  }
  if (wasUp && listener_) listener_->onLinkDown();
  retryTimer_.armIn(backoff_);
  backoff_ = std::min(backoff_ * 2.0, settings_.backoffMax);
}

bool Link::command(std::initializer_list<std::string_view> args, Connection::Reply reply) {
  return state_ == State::up && commands_.command(args, std::move(reply));
}

bool Link::command(std::initializer_list<std::string_view> args, Connection::Receiver& receiver) {
  return state_ == State::up && commands_.command(args, receiver);
}

bool Link::write(std::initializer_list<std::string_view> args) {
  return state_ == State::up && commands_.command(args, writeCheck_);
}

void Link::WriteCheck::onReply(redisReply const& reply) {
  if (!isError(reply)) return;
  if (isNotServingYet(reply)) return link_.commandFailed(reply);
  if (link_.writeErrorLogged_) return;
  link_.writeErrorLogged_ = true;
  link_.log_("statedb: a write to " + link_.endpoint_.describe() +
             " was refused: " + replyText(reply));
}

void Link::commandFailed(redisReply const& reply) {
  std::string reason = replyText(reply);
  if (reason.empty()) reason = "an answer of the wrong kind";
  bool const later = isNotServingYet(reply);
  // From the loop, not from inside the reply being handled: the listener starts over, and the
  // replies behind this one are dropped with the connection.
  loop_.taskIs([this, alive = std::weak_ptr<bool>(alive_), reason, later] {
    auto const live = alive.lock();
    if (!live || !*live || state_ != State::up) return;
    if (later) {
      notServing(reason);
    } else {
      // Refused, as an ACL without the right to scan would: retried with a growing back-off
      // and said once, until a whole read goes through.
      if (!refused_) {
        log_("statedb: " + endpoint_.describe() + " refused a read of the tables (" + reason +
             "); retrying");
      }
      refused_ = true;
    }
    fail(reason);
  });
}

void Link::wholeReadDone() {
  if (!refused_) return;
  refused_ = false;
  backoff_ = settings_.backoffMin;
  log_("statedb: " + endpoint_.describe() + " serves the tables again");
}

void Link::probe(std::function<void()> done) {
  std::uint64_t const token = nextProbe_++;
  probes_.emplace_back(token, std::move(done));
  if (state_ == State::up) sendProbe(token);
}

void Link::sendProbe(std::uint64_t token) {
  commands_.command({"PUBLISH", probeChannel_, std::to_string(token)}, nullptr);
}

void Link::onMessage(redisReply const& reply) {
  if (reply.type != REDIS_REPLY_ARRAY || reply.elements < 3) return;
  std::string_view const kind(reply.element[0]->str, reply.element[0]->len);
  if (kind == "psubscribe" || kind == "subscribe") return subscriptionConfirmed();
  redisReply const& channel = *reply.element[reply.elements - 2];
  std::string_view const name(channel.str, channel.len);
  if (kind == "pmessage" && name.starts_with(keyspacePrefix_)) {
    redisReply const& event = *reply.element[reply.elements - 1];
    if (listener_) {
      listener_->onKeyTouched(name.substr(keyspacePrefix_.size()),
                              std::string_view(event.str, event.len));
    }
  } else if (kind == "message" && name == probeChannel_) {
    redisReply const& payload = *reply.element[2];
    std::uint64_t token = 0;
    std::from_chars(payload.str, payload.str + payload.len, token);
    // Tokens come back in order; an older one re-sent after an outage may come twice.
    while (!probes_.empty() && probes_.front().first <= token) {
      auto done = std::move(probes_.front().second);
      probes_.pop_front();
      loop_.taskIs(std::move(done));
    }
  }
}

void Link::keepalive() {
  if (state_ != State::up) return;
  timeoutTimer_.armIn(settings_.timeout);
  commands_.command({"PING"}, [this](redisReply const& reply) {
    timeoutTimer_.disarm();
    if (isNotServingYet(reply)) return commandFailed(reply);
    keepaliveTimer_.armIn(settings_.keepalive);
  });
}

}  // namespace Statedb::Redis
