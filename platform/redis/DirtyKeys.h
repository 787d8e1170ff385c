// Keys waiting for one pass of work each, in the order they first came: marking a key that is
// already waiting changes nothing, so a burst of changes to one key costs one read or one write.
#pragma once

#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Statedb::Redis {

class DirtyKeys {
 public:
  // False when the key was already waiting.
  bool mark(std::string const& key) {
    if (!waiting_.insert(key).second) return false;
    order_.push_back(key);
    return true;
  }
  bool contains(std::string const& key) const { return waiting_.count(key) != 0; }
  bool empty() const noexcept { return order_.empty(); }

  // Every waiting key, oldest first; none waits afterwards.
  std::vector<std::string> take() {
    std::vector<std::string> keys;
    keys.swap(order_);
    waiting_.clear();
    return keys;
  }

 private:
  std::vector<std::string> order_;
  std::unordered_set<std::string> waiting_;
};

}  // namespace Statedb::Redis
