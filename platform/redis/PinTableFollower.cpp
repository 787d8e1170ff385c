#include "platform/redis/PinTableFollower.h"

#include "platform/model/CorvelPinConfig.h"
#include "platform/redis/TableCodec.h"

namespace Statedb::Redis {

using Hardware::Gpio::CorvelPinConfig;

namespace {

constexpr char kPinType[] = "Hardware::Gpio::CorvelPinConfig";

std::optional<std::string_view> fieldOf(HashView hash, std::string_view field) {
  for (auto const& [name, value] : hash) {
    if (name == field) return value;
  }
  return std::nullopt;
}

}  // namespace

PinTableFollower::PinTableFollower(Zel::ActivityManager& loop, Endpoint endpoint,
                                   LinkSettings settings, Zel::Dir& pins, Log log)
    : loop_(loop),
      link_(loop, std::move(endpoint), {kPinTable}, settings, log),
      pins_(&pins),
      log_(std::move(log)),
      scan_(
          link_, {kPinTable}, [this](std::size_t, std::string_view key) { mark(std::string(key)); },
          [this] { scanDone(); }),
      quietWaiters_(loop) {
  link_.listenerIs(this);
}

PinTableFollower::~PinTableFollower() {
  link_.listenerIs(nullptr);
}

void PinTableFollower::onLinkUp() {
  // Subscribed already, so a whole read now misses nothing published from here on.
  ++generation_;
  readsOwed_ = 0;
  scan_.start();
  if (upHandler_) upHandler_(true);
}

void PinTableFollower::onLinkDown() {
  // Replies owed are gone with the connection; the whole read on reconnect covers them.
  ++generation_;
  readsOwed_ = 0;
  scan_.stop();
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
  if (!link_.isUp() || scan_.isScanning()) return;
  for (auto const& key : dirty_.take()) read(key);
  quietCheck();
}

void PinTableFollower::read(std::string const& key) {
  auto decoded = keyNameOf(key);
  if (!decoded.value) return log_({Severity::warning, key, refusalLine(key, decoded.refusal)});
  std::string name(decoded.value->name);
  std::uint64_t const generation = generation_;
  ++readsOwed_;
  link_.command({"HGETALL", key}, [this, key, name, generation](Reply reply) {
    if (generation != generation_) return;
    --readsOwed_;
    apply(key, name, reply);
    quietCheck();
  });
}

void PinTableFollower::apply(std::string const& key, std::string const& name, Reply reply) {
  // A server that does not serve yet is one condition of the link, not one line per pin.
  if (reply.isNotServingYet()) return link_.commandFailed(reply);
  if (reply.isError()) {
    return log_(
        {Severity::warning, key, "statedb: cannot read " + key + ": " + std::string(reply.text())});
  }
  Zel::Name const entry(name);
  fieldsOf(reply, fields_);
  if (fields_.empty()) {
    if (pins_->entityRef(entry)) pins_->entryDel(entry);
    return;
  }
  auto const value = fieldOf(fields_, kPinValueField);
  if (!value || (*value != "0" && *value != "1")) {
    Refusal const refusal{kPinValueField, std::string(value.value_or("")), "not 0 or 1"};
    return log_({Severity::warning, key, refusalLine(key, refusal)});
  }
  std::uint32_t const lit = *value == "1" ? 1 : 0;
  auto pin = Zel::ptrCast<CorvelPinConfig>(pins_->entityRef(entry));
  if (!pin) pin = Zel::ptrCast<CorvelPinConfig>(pins_->entryIs(entry, kPinType));
  if (pin && pin->value() != lit) pin->valueIs(lit);
}

void PinTableFollower::scanDone() {
  link_.wholeReadDone();
  // Gone while the link was down: neither found by the scan nor touched since it began. Nothing
  // is read while the table is scanned, so every key found is still waiting to be read.
  std::vector<Zel::Name> gone;
  for (auto const& member : pins_->entries()) {
    if (!dirty_.contains(keyOf(kPinTable, member.key.view()))) gone.push_back(member.key);
  }
  for (auto const& name : gone) pins_->entryDel(name);
  flushSoon();
  quietCheck();
}

void PinTableFollower::whenSynced(std::function<void()> done) {
  link_.probe([this, done = std::move(done)]() mutable {
    quietWaiters_.add(std::move(done));
    quietCheck();
  });
}

void PinTableFollower::quietCheck() {
  if (isQuiet()) quietWaiters_.release();
}

}  // namespace Statedb::Redis
