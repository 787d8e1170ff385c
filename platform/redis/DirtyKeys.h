// Keys waiting for one pass of work each, in the order they first came: marking a key that is
// already waiting changes nothing, so a burst of changes to one key costs one read or one write.
#pragma once

#include <deque>
#include <iterator>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace Statedb::Redis {

class DirtyKeys {
 public:
  // False when the key was already waiting. A whole read marks every key of a table: each is
  // held once, and looked up by view.
  bool mark(std::string_view key) {
    if (waiting_.contains(key)) return false;
    waiting_.insert(order_.emplace_back(key));  // a deque does not move what it holds
    return true;
  }
  bool contains(std::string_view key) const { return waiting_.contains(key); }
  bool empty() const noexcept { return order_.empty(); }

  void clear() noexcept {
    waiting_.clear();
    order_.clear();
  }

  // Every waiting key, oldest first; none waits afterwards.
  std::vector<std::string> take() {
    waiting_.clear();
    std::vector<std::string> keys(std::make_move_iterator(order_.begin()),
                                  std::make_move_iterator(order_.end()));
    order_.clear();
    return keys;
  }

 private:
  std::deque<std::string> order_;
  std::unordered_set<std::string_view> waiting_;  // views of order_
};

}  // namespace Statedb::Redis
