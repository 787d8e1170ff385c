// Follows the pin table into a directory of pin configuration, for a process that drives pins
// written by an agent elsewhere. As the agent's input tables are followed: a keyspace
// notification only marks its pin dirty, once per loop turn each dirty pin is read once, and on
// every (re)connect the whole table is read again and only what differs is applied, so a pin
// whose value did not change is never touched. A scan or read the server cannot answer yet
// (loading its data) takes the link down until it serves, then the whole table is read again.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/redis/DirtyKeys.h"
#include "platform/redis/Link.h"
#include "platform/redis/TableCodec.h"
#include "platform/redis/TableScan.h"
#include "platform/redis/Waiters.h"
#include "platform/zel/Dir.h"

namespace Statedb::Redis {

class PinTableFollower final : private Link::Listener {
 public:
  PinTableFollower(Zel::ActivityManager& loop, Endpoint endpoint, LinkSettings settings,
                   Zel::Dir& pins, Log log);
  ~PinTableFollower();
  PinTableFollower(PinTableFollower const&) = delete;
  PinTableFollower& operator=(PinTableFollower const&) = delete;

  void start() { link_.start(); }
  bool isUp() const noexcept { return link_.isUp(); }
  // Calls `done` once the table as it stood when called is in the directory (after start(): the
  // first whole read).
  void whenSynced(std::function<void()> done);
  // Told each time the link comes up (true) or is lost (false).
  void upHandlerIs(std::function<void(bool up)> handler) { upHandler_ = std::move(handler); }
  Link& link() noexcept { return link_; }

 private:
  void onLinkUp() override;
  void onLinkDown() override;
  void onKeyTouched(std::string_view key, std::string_view event) override;
  void mark(std::string const& key);
  void flushSoon();
  void flush();
  void read(std::string const& key);
  void apply(std::string const& key, std::string const& name, Reply reply);
  void scanDone();
  bool isQuiet() const noexcept { return dirty_.empty() && readsOwed_ == 0 && !scan_.isScanning(); }
  void quietCheck();

  Zel::ActivityManager& loop_;
  Link link_;
  Zel::Ptr<Zel::Dir> pins_;
  Log log_;
  DirtyKeys dirty_;
  bool flushQueued_ = false;
  TableScan scan_;
  std::size_t readsOwed_ = 0;
  std::uint64_t generation_ = 0;  // counts ups and downs: a read of an earlier one is dropped
  Waiters quietWaiters_;
  std::vector<FieldView> fields_;  // of the pin being applied; kept to reuse its capacity
  std::function<void(bool up)> upHandler_;
};

}  // namespace Statedb::Redis
