// The database tables as hashes. Each entity is one hash under the key "<TABLE>|<name>"; every
// field is text. Decoding refuses what does not parse, naming the field and the value, rather
// than guessing: a bad hash leaves the agent with what it last knew.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/model/LightSetting.h"
#include "platform/model/PinColour.h"

namespace Statedb::Redis {

inline constexpr char kLedTable[] = "LED_CONFIG";
inline constexpr char kMappingTable[] = "GPIO_LED";
inline constexpr char kPinTable[] = "GPIO_PIN";
inline constexpr char kSeparator = '|';

using Hash = std::vector<std::pair<std::string, std::string>>;
// A hash as views into text held elsewhere (a reply): decoding reads fields where they lie.
using FieldView = std::pair<std::string_view, std::string_view>;
using HashView = std::span<FieldView const>;
std::vector<FieldView> viewOf(Hash const& hash);

struct Refusal {
  std::string field;  // empty when the key itself is refused
  std::string value;
  std::string reason;
};

template <class T>
struct Decoded {
  std::optional<T> value;
  Refusal refusal;  // set when value is empty
};

// The table and entity name of `key`; refused when there is no separator, the name is empty or
// holds a separator or a slash (entity names are path components in the agent's tree).
struct KeyName {
  std::string_view table;
  std::string_view name;
};
Decoded<KeyName> keyNameOf(std::string_view key);
std::string keyOf(std::string_view table, std::string_view name);

// LED_CONFIG: yellow, green, red, orange ("0"/"1", absent = 0) and flashInterval (seconds, a
// finite number >= 0, absent = 0 = steady). Other fields are carried by other writers and ignored.
// The model's further fields, which no table field holds, are taken from `base`.
Decoded<Led::LightSetting> lightSettingOf(HashView hash, Led::LightSetting base = {});
Hash hashOf(Led::LightSetting const& setting);

// GPIO_LED: yellow, green, red, orange (comma-separated pin names, absent or empty = none) and
// ready ("0"/"1", absent = 0). The pin names are views into the decoded hash's text.
struct Mapping {
  std::array<std::vector<std::string_view>, Hardware::Gpio::kPinColourCount> pins;  // by colour
  bool ready = false;
};
Decoded<Mapping> mappingOf(HashView hash);
// The same into `mapping`, whose lists keep their capacity from one hash to the next; the
// refusal when the hash is refused.
std::optional<Refusal> mappingInto(HashView hash, Mapping& mapping);
Hash hashOf(Mapping const& mapping);

// Keys examined per SCAN step. The tables share one keyspace, so a step of a large database
// finds only a share of its keys in the table scanned; big steps keep the round trips few.
inline constexpr char kScanCount[] = "10000";

// GPIO_PIN: value ("0"/"1").
inline constexpr char kPinValueField[] = "value";

// One log line for a refused key or hash.
std::string refusalLine(std::string_view key, Refusal const& refusal);

}  // namespace Statedb::Redis
