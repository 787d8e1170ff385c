// Walks the keys of one table a SCAN step at a time. The next step is asked before the keys of
// this one are handed on, so the server answers it while they are dealt with. A walk that is
// started again or stopped drops the answers still owed to the earlier one; an answer that is
// not a page takes the link down (see Link::commandFailed): a table that could not be read is
// never taken for an empty one.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "platform/redis/Link.h"
#include "platform/redis/Reply.h"

namespace Statedb::Redis {

class TableScan {
 public:
  using Keys = std::function<void(Reply keys)>;  // an array of key strings
  using Done = std::function<void()>;

  TableScan(Link& link, std::string_view table, Keys onKeys, Done onDone);

  // From the first key; the link is up.
  void start();
  void stop() noexcept;
  bool isScanning() const noexcept { return scanning_; }

 private:
  void step(std::string_view cursor);

  Link& link_;
  std::string pattern_;
  Keys onKeys_;
  Done onDone_;
  std::uint64_t walk_ = 0;  // counts starts and stops: an answer to an older walk is dropped
  bool scanning_ = false;
};

}  // namespace Statedb::Redis
