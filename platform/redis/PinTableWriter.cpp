#include "platform/redis/PinTableWriter.h"

#include <charconv>

#include "platform/model/CorvelPinConfig.h"
#include "platform/redis/TableCodec.h"

namespace Statedb::Redis {

using Hardware::Gpio::CorvelPinConfig;

PinTableWriter::PinTableWriter(Zel::ActivityManager& loop, Link& link, Zel::Dir& pins, Log log)
    : loop_(loop),
      link_(link),
      pins_(&pins),
      log_(std::move(log)),
      rewriteWaiters_(loop),
      follower_(pins, *this) {}

PinTableWriter::Tag PinTableWriter::onPinArrived(std::string const& name, Pin const&) {
  mark(name);
  return 0;
}

void PinTableWriter::onPinValue(Tag, std::string const& name, Pin const&) {
  mark(name);
}

void PinTableWriter::onPinLeft(std::string const& name) {
  mark(name);
}

void PinTableWriter::mark(std::string const& name) {
  // The rewrite ends in a walk over every pin and every row: marking hundreds of thousands of
  // pins as they are built at start would only make it look each one up again.
  if (syncing_) return;
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
  auto const names = marked_.take();
  written_.reserve(written_.size() + names.size());  // the first write of every pin, at once
  for (auto const& name : names) {
    auto const pin = Zel::ptrCast<CorvelPinConfig>(pins_->entityRef(Zel::Name(name)));
    put(name, pin.ptr());
  }
}

std::string_view PinTableWriter::keyOfPin(std::string_view name) {
  key_.assign(kPinTable);
  key_ += kSeparator;
  key_.append(name);
  return key_;
}

void PinTableWriter::put(std::string_view name, Pin const* pin) {
  put(name, pin, written_.find(name));
}

void PinTableWriter::put(std::string_view name, Pin const* pin,
                         KeyMap<std::uint32_t>::iterator held) {
  if (pin) {
    std::uint32_t const value = pin->value();
    if (held == written_.end()) {
      held = written_.emplace(std::string(name), value).first;
    } else if (held->second == value) {
      return;
    }
    held->second = value;
    char digits[16];
    std::string_view text = value == 0 ? "0" : value == 1 ? "1" : std::string_view();
    if (text.empty()) {
      auto const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
      text = std::string_view(digits, static_cast<std::size_t>(end - digits));
    }
    link_.write({"HSET", keyOfPin(name), kPinValueField, text});
    ++writes_;
  } else if (held != written_.end()) {
    written_.erase(held);
    link_.write({"DEL", keyOfPin(name)});
    ++writes_;
  }
}

void PinTableWriter::rewrite() {
  syncing_ = true;
  inputsRead_ = false;
  asked_.clear();
  written_.clear();
  // About as many rows as the agent has pins: the table is not rehashed step by step as the
  // walk finds them.
  written_.reserve(pins_->entries().size());
  marked_.clear();  // what it marked is taken in by the rewrite's walk
  scanning_ = true;
}

void PinTableWriter::scanEnded() {
  scanning_ = false;
  syncStep();
}

void PinTableWriter::linkDown() {
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
  rewriteWaiters_.add(std::move(done));
  if (!syncing_) rewritten();
}

void PinTableWriter::rewritten() {
  rewriteWaiters_.release();
}

void PinTableWriter::readValue(std::string_view key) {
  auto parts = keyNameOf(key);
  if (!parts.value) {
    // Not a key the agent could have written; it is not the agent's to keep.
    link_.write({"DEL", key});
    ++writes_;
    return;
  }
  if (!link_.command({"HGET", key, kPinValueField}, *this)) return;
  // Kept as a row once answered: made when asked, rows for the whole table built during the walk
  // cost the agent more than they saved at the answer.
  asked_.push_back(std::string(parts.value->name));
}

void PinTableWriter::onReply(Reply reply) {
  if (asked_.empty()) return;
  std::string name = std::move(asked_.front());
  asked_.pop_front();
  if (reply.isNotServingYet()) return link_.commandFailed(reply);
  std::string_view const text = reply.isError() ? std::string_view() : reply.text();
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
  // Only what differs is written, straight from the walk over the pins: a reconnect with nothing
  // changed queues no work per pin, and a pin is not looked up again by name.
  written_.reserve(pins_->entries().size());
  std::size_t const rows = written_.size();
  std::size_t held = 0;  // of those rows, the ones that have their pin
  for (auto member : pins_->entries()) {
    auto const pin = Zel::ptrCast<CorvelPinConfig>(member.value);
    auto const row = written_.find(member.key.view());
    if (row != written_.end()) ++held;
    put(member.key.view(), pin.ptr(), row);
  }
  // A row without a pin is one the agent no longer has; when every row has its pin, the pins
  // need not be looked up again one by one.
  if (held != rows) {
    for (auto const& [name, value] : written_) {
      if (!pins_->entityRef(Zel::Name(name))) mark(name);
    }
  }
  flush();
  rewritten();
}

}  // namespace Statedb::Redis
