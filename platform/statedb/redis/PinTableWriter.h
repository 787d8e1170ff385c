// Mirrors the agent's output pins into the pin table, the one table the agent writes. A pin
// whose entity appears, changes value or goes is marked; once per loop turn the marked pins are
// written in one pipelined batch: HSET for a value that differs from what the table holds, DEL
// for a pin that is gone. On every (re)connect the table is read back and brought to the agent's
// truth the same way, so a reconnect with nothing changed writes nothing.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/statedb/redis/Link.h"
#include "platform/zel/Dir.h"

namespace Statedb::Redis {

class PinTableWriter final : private Connection::Receiver {
 public:
  PinTableWriter(Zel::ActivityManager& loop, Link& link, Zel::Dir& pins, Log log);
  ~PinTableWriter();
  PinTableWriter(PinTableWriter const&) = delete;
  PinTableWriter& operator=(PinTableWriter const&) = delete;

  // Reads the table back and rewrites what differs; the link is up.
  void rewrite();
  void linkDown();
  // Writes what is marked now rather than at the end of the turn.
  void flush();
  bool isSyncing() const noexcept { return syncing_; }
  // Commands that changed the table (HSET or DEL) since start.
  std::uint64_t writeCount() const noexcept { return writes_; }

 private:
  class DirReactor;
  class PinReactor;
  static constexpr std::uint32_t kUnknown = ~0u;  // a table value that is not 0 or 1

  void onEntry(Zel::Name const& name);
  void onAllEntries();
  void mark(std::string const& name);
  void flushSoon();
  void scan(std::string const& cursor);
  void readValue(std::string const& key);
  void onReply(redisReply const& reply) override;
  void syncStep();

  Zel::ActivityManager& loop_;
  Link& link_;
  Zel::Ptr<Zel::Dir> pins_;
  Log log_;
  Zel::Ptr<DirReactor> dirReactor_;
  std::unordered_map<std::string, Zel::Ptr<PinReactor>> watched_;
  std::unordered_map<std::string, std::uint32_t> written_;  // the table as far as known
  std::vector<std::string> markedOrder_;
  std::unordered_set<std::string> marked_;
  bool flushQueued_ = false;
  bool syncing_ = false;
  bool scanning_ = false;
  std::deque<std::string> asked_;  // pins whose value is being read back, in the order asked
  std::uint64_t generation_ = 0;
  std::uint64_t writes_ = 0;
};

}  // namespace Statedb::Redis
