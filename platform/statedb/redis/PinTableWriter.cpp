#include "platform/statedb/redis/PinTableWriter.h"

#include <hiredis/hiredis.h>

#include <charconv>

#include "platform/model/CorvelPinConfig.h"
#include "platform/statedb/redis/TableCodec.h"

namespace Statedb::Redis {

using Hardware::Gpio::CorvelPinConfig;

PinTableWriter::PinTableWriter(Zel::ActivityManager& loop, Link& link, Zel::Dir& pins, Log log)
    : loop_(loop), link_(link), pins_(&pins), log_(std::move(log)), follower_(pins, *this) {}

void PinTableWriter::onPinArrived(std::string const& name, Pin const&) {
  mark(name);
}

void PinTableWriter::onPinValue(std::string const& name, Pin const&) {
  mark(name);
}

void PinTableWriter::onPinLeft(std::string const& name) {
  mark(name);
}

void PinTableWriter::mark(std::string const& name) {
  if (marked_.mark(name)) flushSoon();
}

void PinTableWriter::flushSoon() {
  if (flushQueued_) return;
  flushQueued_ = true;
  // The turn's outcome, not its steps: a pin set dark and lit again within one turn is no write.
  loop_.turnEndTaskIs([this] { flush(); });
}

void PinTableWriter::flush() {
  flushQueued_ = false;
  if (!link_.isUp() || syncing_) return;  // the rewrite on reconnect takes them in
  for (auto const& name : marked_.take()) {
    auto const pin = Zel::ptrCast<CorvelPinConfig>(pins_->entityRef(Zel::Name(name)));
    auto held = written_.find(name);
    if (pin) {
      std::uint32_t const value = pin->value();
      if (held == written_.end()) {
        held = written_.emplace(name, value).first;
      } else if (held->second == value) {
        continue;
      }
      held->second = value;
      link_.write({"HSET", keyOf(kPinTable, name), kPinValueField, std::to_string(value)});
      ++writes_;
    } else if (held != written_.end()) {
      written_.erase(held);
      link_.write({"DEL", keyOf(kPinTable, name)});
      ++writes_;
    }
  }
}

void PinTableWriter::rewrite() {
  ++generation_;
  syncing_ = true;
  scanning_ = true;
  inputsRead_ = false;
  asked_.clear();
  written_.clear();
  scan("0");
}

void PinTableWriter::linkDown() {
  ++generation_;
  asked_.clear();
  syncing_ = false;
  scanning_ = false;
  rewritten();
}

void PinTableWriter::inputsRead() {
  inputsRead_ = true;
  syncStep();
}

void PinTableWriter::whenRewritten(std::function<void()> done) {
  rewriteWaiters_.push_back(std::move(done));
  if (!syncing_) rewritten();
}

void PinTableWriter::rewritten() {
  std::vector<std::function<void()>> waiters;
  waiters.swap(rewriteWaiters_);
  for (auto& done : waiters) loop_.taskIs(std::move(done));
}

void PinTableWriter::scan(std::string const& cursor) {
  std::uint64_t const generation = generation_;
  link_.command({"SCAN", cursor, "MATCH", std::string(kPinTable) + "|*", "COUNT", kScanCount},
                [this, generation](redisReply const& reply) {
                  if (generation != generation_) return;
                  // A table that could not be read is not known to be empty: the link starts over.
                  if (reply.type != REDIS_REPLY_ARRAY || reply.elements != 2) {
                    return link_.commandFailed(reply);
                  }
                  // The next step goes first: the server then answers the reads of this page while
                  // the agent takes in the previous ones, rather than one after the other.
                  std::string const next = replyText(*reply.element[0]);
                  if (next == "0") {
                    scanning_ = false;
                  } else {
                    scan(next);
                  }
                  redisReply const& keys = *reply.element[1];
                  for (std::size_t i = 0; i < keys.elements; ++i)
                    readValue(replyText(*keys.element[i]));
                  syncStep();
                });
}

void PinTableWriter::readValue(std::string const& key) {
  auto parts = keyNameOf(key);
  std::string const name = parts.value ? std::string(parts.value->name) : std::string();
  if (name.empty()) {
    // Not a key the agent could have written; it is not the agent's to keep.
    link_.write({"DEL", key});
    ++writes_;
    return;
  }
  if (link_.command({"HGET", key, kPinValueField}, *this)) asked_.push_back(name);
}

void PinTableWriter::onReply(redisReply const& reply) {
  if (asked_.empty()) return;
  std::string name = std::move(asked_.front());
  asked_.pop_front();
  if (isNotServingYet(reply)) return link_.commandFailed(reply);
  std::string_view const text =
      reply.type == REDIS_REPLY_STRING ? std::string_view(reply.str, reply.len) : "";
  std::uint32_t value = kUnknown;
  if (text == "0" || text == "1") value = text == "1" ? 1 : 0;
  written_.emplace(std::move(name), value);
  syncStep();
}

void PinTableWriter::syncStep() {
  // Before the agent has applied its inputs, a pin it does not have yet may be one it is about
  // to light again: deleting it would show it dark in between.
  if (scanning_ || !asked_.empty() || !syncing_ || !inputsRead_) return;
  syncing_ = false;
  // Only what differs is marked: a reconnect with nothing changed queues no work per pin.
  for (auto member : pins_->entries()) {
    auto const pin = Zel::ptrCast<CorvelPinConfig>(member.value);
    std::string name = member.key.stdString();
    auto const held = written_.find(name);
    if (!pin || held == written_.end() || held->second != pin->value()) mark(name);
  }
  for (auto const& [name, value] : written_) {
    if (!pins_->entityRef(Zel::Name(name))) mark(name);
  }
  flush();
  rewritten();
}

}  // namespace Statedb::Redis
