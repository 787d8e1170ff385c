#include "platform/redis/Mirror.h"

#include "platform/inputs/InputApplier.h"

namespace Statedb::Redis {

namespace {

using Inputs::InputChange;

// A DEL seen before the read means the writer replaced the entity whole (DEL and HSET in one
// transaction); any other change to a hash is a change in place.
InputChange changeOf(bool replaced) {
  return replaced ? InputChange::replace : InputChange::set;
}

}  // namespace

Mirror::Mirror(Zel::ActivityManager& loop, Link& link,
               Hardware::Gpio::GpioLedSystemConfigDir& mappings,
               Hardware::Led::LedSystemConfigDir& leds, Log log)
    : loop_(loop),
      link_(link),
      mappings_(mappings),
      leds_(leds),
      log_(std::move(log)),
      quietWaiters_(loop) {}

void Mirror::keyTouched(std::string_view key, std::string_view event) {
  if (event == "del") deleted_.emplace(key);
  // Nothing is read while the tables are scanned: their keys come here by the thousand.
  if (!reading_.empty()) {
    auto reading = reading_.find(key);
    if (reading != reading_.end()) {
      reading->second = true;  // read again once the answer in flight is in
      return;
    }
  }
  if (dirty_.mark(key)) flushSoon();
}

void Mirror::flushSoon() {
  if (flushQueued_) return;
  flushQueued_ = true;
  loop_.taskIs([this] { flush(); });
}

void Mirror::flush() {
  flushQueued_ = false;
  readDirty();
  quietCheck();
}

void Mirror::readDirty() {
  if (!link_.isUp()) return;  // resync on reconnect reads them all
  // While the tables are scanned the keys found are only collected, and read in one batch when
  // the scan ends: read page by page, each page's entities reach the agent in a turn of its own,
  // and building them turn by turn cost the agent more than the overlap saved.
  if (isScanning()) return;
  auto keys = dirty_.take();
  // A whole read asks for every key at once: grown step by step, the table would rehash a
  // dozen times.
  reading_.reserve(reading_.size() + keys.size());
  for (auto& key : keys) read(std::move(key));
}

void Mirror::read(std::string key, bool again) {
  auto decoded = keyNameOf(key);
  if (!decoded.value) {
    refuse(key, decoded.refusal);
    return;
  }
  auto const [reading, fresh] = reading_.try_emplace(std::move(key), false);
  if (!fresh) {
    if (again) reading->second = true;  // the read in flight is followed by another
    return;
  }
  if (!link_.command({"HGETALL", reading->first}, *this)) {
    reading_.erase(reading);
    return;
  }
  // The key's node stays where it is until it is taken out, through any growth of the table;
  // an iterator would not survive a rehash.
  asked_.push_back(&reading->first);
  ++reads_;
  ++sent_;
}

void Mirror::onReply(Reply reply) {
  if (asked_.empty()) return;
  auto const read = reading_.extract(*asked_.front());
  asked_.pop_front();
  ++answered_;
  onHash(read.key(), read.mapped(), reply);
  resyncCheck();
}

void Mirror::onHash(std::string const& key, bool again, Reply reply) {
  if (reply.isNotServingYet()) {
    // Not an answer about the key: the link starts over and the whole read covers it.
    link_.commandFailed(reply);
  } else if (again) {
    keyTouched(key);
  } else if (reply.isError()) {
    log_(
        {Severity::warning, key, "statedb: cannot read " + key + ": " + std::string(reply.text())});
  } else {
    KeyName const parts = *keyNameOf(key).value;
    Zel::Name const name(parts.name.data(), parts.name.size());
    fieldsOf(reply, fields_);
    bool const replaced = !deleted_.empty() && deleted_.erase(key) > 0;
    if (parts.table == kLedTable) applyLed(key, name, fields_, replaced);
    if (parts.table == kMappingTable) applyMapping(key, name, fields_, replaced);
  }
  quietCheck();
}

void Mirror::applyLed(std::string const& key, Zel::Name const& name, HashView hash, bool replaced) {
  if (hash.empty()) {
    Inputs::ledApplied(leds_, name, InputChange::remove);
    return;
  }
  auto decoded = lightSettingOf(hash);
  if (!decoded.value) return refuse(key, decoded.refusal);
  Inputs::ledApplied(leds_, name, changeOf(replaced), *decoded.value);
}

void Mirror::applyMapping(std::string const& key, Zel::Name const& name, HashView hash,
                          bool replaced) {
  if (hash.empty()) {
    Inputs::mappingApplied(mappings_, name, InputChange::remove);
    return;
  }
  if (auto refusal = mappingInto(hash, mapping_)) return refuse(key, *refusal);
  // A hash holds the whole entity: a colour it does not list has no pins, a missing `ready` is 0.
  auto& fields = mappingFields_;
  for (std::size_t colour = 0; colour < fields.pins.size(); ++colour) {
    auto& pins = fields.pins[colour] ? *fields.pins[colour] : fields.pins[colour].emplace();
    pins.assign(mapping_.pins[colour].begin(), mapping_.pins[colour].end());
  }
  fields.ready = mapping_.ready;
  Inputs::mappingApplied(mappings_, name, changeOf(replaced), fields);
}

void Mirror::refuse(std::string const& key, Refusal const& refusal) {
  ++counters_.refusedRows;
  log_({Severity::warning, key, refusalLine(key, refusal)});
}

void Mirror::resync() {
  deleted_.clear();  // what happened while no notification came is unknown
  reading_.clear();
  asked_.clear();
  sent_ = answered_ = 0;
  resyncReads_.reset();
  resyncing_ = true;
  resyncStart_ = loop_.currentTime();
  scanning_ = true;
}

void Mirror::linkDown() {
  // Replies owed are gone with the connection; what was dirty stays dirty for the resync.
  for (auto const& [key, again] : reading_) {
    dirty_.mark(key);
  }
  for (auto const& key : found_) dirty_.mark(key);
  found_.clear();
  reading_.clear();
  asked_.clear();
  scanning_ = false;
  resyncing_ = false;
}

void Mirror::scanEnded() {
  if (!scanning_) return;
  scanning_ = false;
  if (!link_.isUp()) {
    for (auto const& key : found_) dirty_.mark(key);
    found_.clear();
    return;  // the resync on reconnect reads them all
  }
  // The keys touched while the tables were scanned go first, then those found: each is asked
  // once. The removals below still reach the agent before any answer.
  reading_.reserve(reading_.size() + found_.size());
  readDirty();
  for (auto& key : found_) read(std::move(key), false);
  found_.clear();
  removeUnseen();
  resyncReads_ = sent_;
  resyncCheck();
  quietCheck();
}

void Mirror::resyncCheck() {
  if (!resyncing_ || !resyncReads_ || answered_ < *resyncReads_) return;
  resyncing_ = false;
  ++counters_.resyncs;
  counters_.lastResyncSeconds = loop_.currentTime() - resyncStart_;
  counters_.resyncSeconds += counters_.lastResyncSeconds;
  if (resyncedHandler_) resyncedHandler_();
}

void Mirror::removeUnseen() {
  // Gone while the link was down: neither found by the scan nor touched since it began. Every
  // key found or touched is being read by now, refused keys aside, which name no entity.
  auto gone = [this](char const* table, Zel::Name const& name) {
    key_.assign(table);
    key_ += kSeparator;
    key_.append(name.view());
    return !dirty_.contains(key_) && !reading_.contains(key_);
  };
  std::vector<Zel::Name> names;
  for (auto member : leds_.leds()) {
    if (gone(kLedTable, member.key)) names.push_back(member.key);
  }
  for (auto const& name : names) leds_.ledsDel(name);
  names.clear();
  for (auto member : mappings_.gpioLeds()) {
    if (gone(kMappingTable, member.key)) names.push_back(member.key);
  }
  for (auto const& name : names) mappings_.gpioLedsDel(name);
}

void Mirror::whenQuiet(std::function<void()> done) {
  quietWaiters_.add(std::move(done));
  quietCheck();
}

void Mirror::quietCheck() {
  if (isQuiet()) quietWaiters_.release();
}

}  // namespace Statedb::Redis
