// Mirrors the agent's output pins into the pin table, the one table the agent writes. A pin
// whose entity appears, changes value or goes is marked; once per loop turn the marked pins are
// written in one pipelined batch: HSET for a value that differs from what the table holds, DEL
// for a pin that is gone. On every (re)connect the table is read back and, once the agent has
// applied the whole read of its inputs, brought to the agent's truth the same way: a started
// agent that has not built its LEDs yet neither deletes nor rewrites the pins an earlier run
// left lit, and a reconnect with nothing changed writes nothing.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/model/PinDirectoryFollower.h"
#include "platform/redis/DirtyKeys.h"
#include "platform/redis/KeyMap.h"
#include "platform/redis/Link.h"
#include "platform/redis/Waiters.h"
#include "platform/zel/Dir.h"

namespace Statedb::Redis {

class PinTableWriter final : private Connection::Receiver,
                             private Hardware::Gpio::PinDirectoryFollower::Owner {
 public:
  PinTableWriter(Zel::ActivityManager& loop, Link& link, Zel::Dir& pins, Log log);
  ~PinTableWriter() override = default;
  PinTableWriter(PinTableWriter const&) = delete;
  PinTableWriter& operator=(PinTableWriter const&) = delete;

  // Reads the table back; the link is up. Its rows come from a walk over the table (rowFound),
  // which ends with scanEnded. What differs is written once that is over and inputsRead() says
  // the agent's pins stand as its inputs imply.
  void rewrite();
  void rowFound(std::string_view key) { readValue(key); }
  void scanEnded();
  void inputsRead();
  // Calls `done` once no rewrite is pending (at once when none is, or the link goes down).
  void whenRewritten(std::function<void()> done);
  void linkDown();
  // Writes what is marked now rather than at the end of the turn.
  void flush();
  bool isSyncing() const noexcept { return syncing_; }
  // Commands that changed the table (HSET or DEL) since start.
  std::uint64_t writeCount() const noexcept { return writes_; }

 private:
  using Pin = Hardware::Gpio::CorvelPinConfig;
  static constexpr std::uint32_t kUnknown = ~0u;  // a table value that is not 0 or 1

  Tag onPinArrived(std::string const& name, Pin const& pin) override;
  void onPinValue(Tag, std::string const& name, Pin const& pin) override;
  void onPinLeft(std::string const& name) override;
  void mark(std::string const& name);
  void flushSoon();
  // Writes the pin's value (or deletes its row, for no pin) when the table holds another; a row
  // written is remembered as the table's.
  void put(std::string_view name, Pin const* pin);
  // The same, with the pin's row already looked up (end() for none).
  void put(std::string_view name, Pin const* pin, KeyMap<std::uint32_t>::iterator row);
  std::string_view keyOfPin(std::string_view name);
  void readValue(std::string_view key);
  void onReply(Reply reply) override;
  void syncStep();
  void rewritten();

  Zel::ActivityManager& loop_;
  Link& link_;
  Zel::Ptr<Zel::Dir> pins_;
  Log log_;
  KeyMap<std::uint32_t> written_;  // the table as far as known
  std::string key_;                // the key of the row being written; kept to reuse its capacity
  DirtyKeys marked_;
  bool flushQueued_ = false;
  bool syncing_ = false;
  bool inputsRead_ = false;
  bool scanning_ = false;
  Waiters rewriteWaiters_;
  std::deque<std::string> asked_;  // pins whose value is being read back, in the order asked
  std::uint64_t writes_ = 0;
  // Last: its first notifications come while it is built and find the rest ready.
  Hardware::Gpio::PinDirectoryFollower follower_;
};

}  // namespace Statedb::Redis
