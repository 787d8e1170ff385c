// A map keyed by a table's key or a pin's name that is looked up by view: a resync looks up
// every key it meets, and a string built for each lookup would allocate.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>

namespace Statedb::Redis {

struct KeyHash {
  using is_transparent = void;
  // Not noexcept on purpose: the standard library then keeps each key's hash in its node, so a
  // look-up compares hashes before it reads a key's text (held apart from the node when long),
  // and taking a key out or growing the table hashes nothing again. A resync does each of those
  // hundreds of thousands of times.
  std::size_t operator()(std::string_view key) const { return std::hash<std::string_view>{}(key); }
};
static_assert(!std::is_nothrow_invocable_v<KeyHash const&, std::string_view>,
              "a noexcept hash makes the maps hash a key again for every removal");

template <class T>
using KeyMap = std::unordered_map<std::string, T, KeyHash, std::equal_to<>>;

}  // namespace Statedb::Redis
