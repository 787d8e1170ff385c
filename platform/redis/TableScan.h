// Walks the keys of one or more tables a SCAN step at a time. The next step is asked before the
// keys of this one are handed on, so the server answers it while they are dealt with. A walk
// that is started again or stopped drops the answers still owed to an earlier one; an answer
// that is not a page takes the link down (see Link::commandFailed): a table that could not be
// read is never taken for an empty one.
//
// Tables read together share one walk: the server's cost of a walk is per key of the whole
// database, whatever the pattern, so three walks over a large one cost three times one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "platform/redis/Link.h"
#include "platform/redis/Reply.h"

namespace Statedb::Redis {

class TableScan {
 public:
  // A key of the table at `table` in the list the walk was made with.
  using Key = std::function<void(std::size_t table, std::string_view key)>;
  using Done = std::function<void()>;

  TableScan(Link& link, std::initializer_list<std::string_view> tables, Key onKey, Done onDone);

  // From the first key; the link is up.
  void start();
  void stop() noexcept;
  bool isScanning() const noexcept { return scanning_; }

 private:
  void step(std::string_view cursor);
  // False when the walk was stopped or started again meanwhile.
  bool handOn(Reply keys, std::uint64_t walk);

  Link& link_;
  std::vector<std::string> prefixes_;  // "<TABLE>|" of each table
  std::string pattern_;
  Key onKey_;
  Done onDone_;
  std::uint64_t walk_ = 0;  // counts starts and stops: an answer to an older walk is dropped
  bool scanning_ = false;
};

// A pattern the server's MATCH takes that every key of the tables matches: one table's own, or
// for several a class per leading character they share in length. Keys of other tables may
// match it too; a walk hands on only its tables' keys.
std::string scanPatternOf(std::vector<std::string> const& prefixes);

}  // namespace Statedb::Redis
