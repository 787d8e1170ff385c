#include "platform/statedb/redis/PinTableFollower.h"

#include <hiredis/hiredis.h>

#include "platform/model/CorvelPinConfig.h"
#include "platform/statedb/redis/Mirror.h"
#include "platform/statedb/redis/TableCodec.h"

namespace Statedb::Redis {

using Hardware::Gpio::CorvelPinConfig;

namespace {

constexpr char kPinType[] = "Hardware::Gpio::CorvelPinConfig";

std::string const* fieldOf(Hash const& hash, std::string_view field) {
  for (auto const& [name, value] : hash) {
    if (name == field) return &value;
  }
  return nullptr;
}

}  // namespace

PinTableFollower::PinTableFollower(Zel::ActivityManager& loop, Endpoint endpoint,
                                   LinkSettings settings, Zel::Dir& pins, Log log)
    : loop_(loop),
      link_(loop, std::move(endpoint), {kPinTable}, settings, log),
      pins_(&pins),
      log_(std::move(log)) {
  link_.listenerIs(this);
}

PinTableFollower::~PinTableFollower() {
  link_.listenerIs(nullptr);
}

void PinTableFollower::onLinkUp() {
  // Subscribed already, so a whole read now misses nothing published from here on.
  ++generation_;
  seen_.clear();
  readsOwed_ = 0;
  scanning_ = true;
  scan("0");
  if (upHandler_) upHandler_(true);
}

void PinTableFollower::onLinkDown() {
  // Replies owed are gone with the connection; the whole read on reconnect covers them.
  ++generation_;
  readsOwed_ = 0;
  scanning_ = false;
  if (upHandler_) upHandler_(false);
}

void PinTableFollower::onKeyTouched(std::string_view key, std::string_view) {
  mark(std::string(key));
}

void PinTableFollower::mark(std::string const& key) {
  if (dirty_.mark(key)) flushSoon();
}

void PinTableFollower::flushSoon() {
  if (flushQueued_) return;
  flushQueued_ = true;
  loop_.taskIs([this] { flush(); });
}

void PinTableFollower::flush() {
  flushQueued_ = false;
  // Down: the reconnect reads everything. Scanning: the keys found are read when it ends.
  if (!link_.isUp() || scanning_) return;
  for (auto const& key : dirty_.take()) read(key);
  quietCheck();
}

void PinTableFollower::read(std::string const& key) {
  auto decoded = keyNameOf(key);
  if (!decoded.value) return log_(refusalLine(key, decoded.refusal));
  std::string name(decoded.value->name);
  std::uint64_t const generation = generation_;
  ++readsOwed_;
  link_.command({"HGETALL", key}, [this, key, name, generation](redisReply const& reply) {
    if (generation != generation_) return;
    --readsOwed_;
    apply(key, name, reply);
    quietCheck();
  });
}

void PinTableFollower::apply(std::string const& key, std::string const& name,
                             redisReply const& reply) {
  // A server that does not serve yet is one condition of the link, not one line per pin.
  if (isNotServingYet(reply)) return link_.commandFailed(reply);
  if (isError(reply)) return log_("statedb: cannot read " + key + ": " + replyText(reply));
  Zel::Name const entry(name);
  Hash const hash = hashOfReply(reply);
  if (hash.empty()) {
    if (pins_->entityRef(entry)) pins_->entryDel(entry);
    return;
  }
  std::string const* value = fieldOf(hash, kPinValueField);
  if (!value || (*value != "0" && *value != "1")) {
    return log_(refusalLine(key, Refusal{kPinValueField, value ? *value : "", "not 0 or 1"}));
  }
  std::uint32_t const lit = *value == "1" ? 1 : 0;
  auto pin = Zel::ptrCast<CorvelPinConfig>(pins_->entityRef(entry));
  if (!pin) pin = Zel::ptrCast<CorvelPinConfig>(pins_->entryIs(entry, kPinType));
  if (pin && pin->value() != lit) pin->valueIs(lit);
}

void PinTableFollower::scan(std::string const& cursor) {
  std::uint64_t const generation = generation_;
  link_.command({"SCAN", cursor, "MATCH", std::string(kPinTable) + "|*", "COUNT", kScanCount},
                [this, generation](redisReply const& reply) {
                  if (generation != generation_) return;
                  // Never taken for an empty table, which would darken every pin.
                  if (reply.type != REDIS_REPLY_ARRAY || reply.elements != 2) {
                    return link_.commandFailed(reply);
                  }
                  redisReply const& keys = *reply.element[1];
                  for (std::size_t i = 0; i < keys.elements; ++i) {
                    std::string key = replyText(*keys.element[i]);
                    mark(key);
                    seen_.insert(std::move(key));
                  }
                  std::string const next = replyText(*reply.element[0]);
                  if (next == "0") return scanDone();
                  scan(next);
                });
}

void PinTableFollower::scanDone() {
  scanning_ = false;
  link_.wholeReadDone();
  // Gone while the link was down: no key, and nothing touched it since the read began.
  std::vector<Zel::Name> gone;
  for (auto const& member : pins_->entries()) {
    std::string const key = keyOf(kPinTable, member.key.view());
    if (!seen_.count(key) && !dirty_.contains(key)) gone.push_back(member.key);
  }
  for (auto const& name : gone) pins_->entryDel(name);
  seen_.clear();
  flushSoon();
  quietCheck();
}

void PinTableFollower::whenSynced(std::function<void()> done) {
  link_.probe([this, done = std::move(done)]() mutable {
    quietWaiters_.push_back(std::move(done));
    quietCheck();
  });
}

void PinTableFollower::quietCheck() {
  if (!isQuiet() || quietWaiters_.empty()) return;
  std::vector<std::function<void()>> waiters;
  waiters.swap(quietWaiters_);
  for (auto& done : waiters) loop_.taskIs(std::move(done));
}

}  // namespace Statedb::Redis
