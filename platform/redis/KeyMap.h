// A map keyed by a table's key or a pin's name that is looked up by view: a resync looks up
// every key it meets, and a string built for each lookup would allocate.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Statedb::Redis {

struct KeyHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view key) const noexcept {
    return std::hash<std::string_view>{}(key);
  }
};

template <class T>
using KeyMap = std::unordered_map<std::string, T, KeyHash, std::equal_to<>>;

}  // namespace Statedb::Redis
