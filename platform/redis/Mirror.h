// Follows the two input tables into the agent's directories. A keyspace notification only marks
// its key dirty; once per loop turn each dirty key is read once (HGETALL, empty = removed) and
// the difference applied, so a burst of changes to one key costs one read and the agent sees
// the final state. On every (re)connect the whole tables are read again (SCAN + HGETALL) and only
// what differs from what the agent holds is applied: nothing unchanged is touched. A scan or
// read that the server does not answer with data takes the link down and the whole read starts
// again once it serves: a failed read never counts as an empty table.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/inputs/InputApplier.h"
#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/model/LedSystemConfigDir.h"
#include "platform/redis/DirtyKeys.h"
#include "platform/redis/KeyMap.h"
#include "platform/redis/Link.h"
#include "platform/redis/TableCodec.h"
#include "platform/redis/Waiters.h"

namespace Statedb::Redis {

class Mirror final : private Connection::Receiver {
 public:
  Mirror(Zel::ActivityManager& loop, Link& link, Hardware::Gpio::GpioLedSystemConfigDir& mappings,
         Hardware::Led::LedSystemConfigDir& leds, Log log);

  // A key was touched; `event` is the notification's ("del" marks the entity as replaced when
  // it is there again at the read, rather than changed).
  void keyTouched(std::string_view key, std::string_view event = {});
  // Reads both tables whole; the link is up and subscribed. The keys come from a walk over the
  // tables (keyFound), which ends with scanEnded; nothing is read before it ends.
  void resync();
  void keyFound(std::string_view key) { found_.emplace_back(key); }
  void scanEnded();
  void linkDown();
  // Calls `done` once nothing is dirty, being read or being scanned.
  void whenQuiet(std::function<void()> done);
  bool isQuiet() const noexcept { return dirty_.empty() && reading_.empty() && !isScanning(); }
  // Told each time a whole read of the tables has been applied: every key the scan found has
  // been read once and applied (keys touched meanwhile may be read again), and what is gone
  // has been removed. Under a steady stream of writes this comes, where quiet may not.
  void resyncedHandlerIs(std::function<void()> handler) { resyncedHandler_ = std::move(handler); }
  std::uint64_t readCount() const noexcept { return reads_; }

  // What a monitoring system asks of the mirror: whole reads of the tables (at connect and at
  // every reconnect) and how long they took until applied, and rows refused for bad data.
  struct Counters {
    std::uint64_t resyncs = 0;
    double resyncSeconds = 0;      // all resyncs together
    double lastResyncSeconds = 0;  // the latest one
    std::uint64_t refusedRows = 0;
  };
  Counters const& counters() const noexcept { return counters_; }

 private:
  void flushSoon();
  void flush();
  void readDirty();
  // `again`: a key already being read is read once more after its answer, as a key touched
  // meanwhile is; otherwise it is asked once.
  void read(std::string key, bool again = true);
  void onReply(Reply reply) override;
  // `again`: the key was touched while its read was in flight.
  void onHash(std::string const& key, bool again, Reply reply);
  void applyLed(std::string const& key, Zel::Name const& name, HashView hash, bool replaced);
  void applyMapping(std::string const& key, Zel::Name const& name, HashView hash, bool replaced);
  bool isScanning() const noexcept { return scanning_; }
  void removeUnseen();
  void resyncCheck();
  void refuse(std::string const& key, Refusal const& refusal);
  void quietCheck();

  Zel::ActivityManager& loop_;
  Link& link_;
  Hardware::Gpio::GpioLedSystemConfigDir& mappings_;
  Hardware::Led::LedSystemConfigDir& leds_;
  Log log_;
  DirtyKeys dirty_;
  // Keys being read, and whether they were touched again meanwhile.
  KeyMap<bool> reading_;
  std::deque<std::string const*> asked_;  // keys of the reads in flight, in the order sent
  bool flushQueued_ = false;
  bool scanning_ = false;
  // The keys a whole read's walk found, in the order found. Held apart from the dirty keys,
  // which each cost a set entry: the read itself drops a key found twice.
  std::vector<std::string> found_;
  // Keys deleted since their last read: one that exists again at the read was replaced whole
  // (DEL and HSET in one transaction) and is published as a new entity, as its writer meant;
  // any other changed hash is applied to the published entity in place.
  std::unordered_set<std::string> deleted_;
  std::uint64_t reads_ = 0;
  // Reads sent and answered on this connection, and how many of them the whole read needs.
  std::uint64_t sent_ = 0;
  std::uint64_t answered_ = 0;
  std::optional<std::uint64_t> resyncReads_;
  bool resyncing_ = false;
  double resyncStart_ = 0;
  Counters counters_;
  std::function<void()> resyncedHandler_;
  Waiters quietWaiters_;
  // Of the hash being applied; kept to reuse their capacity across the reads of a resync.
  std::vector<FieldView> fields_;
  Mapping mapping_;
  Inputs::MappingFields mappingFields_;
  std::string key_;  // a key being looked for
};

}  // namespace Statedb::Redis
