#include "platform/redis/TableCodec.h"

#include <cmath>
#include <cstdlib>

namespace Statedb::Redis {

namespace {

bool isValidName(std::string_view name) {
  return !name.empty() && name.find(kSeparator) == std::string_view::npos &&
         name.find('/') == std::string_view::npos && name.find(',') == std::string_view::npos;
}

template <class T>
Decoded<T> refused(std::string field, std::string value, std::string reason) {
  return Decoded<T>{std::nullopt, Refusal{std::move(field), std::move(value), std::move(reason)}};
}

std::optional<bool> flagOf(std::string_view text) {
  if (text == "0") return false;
  if (text == "1") return true;
  return std::nullopt;
}

std::optional<double> intervalOf(std::string_view view) {
  if (view.empty()) return std::nullopt;
  std::string const text(view);  // strtod reads up to a terminating NUL
  char* end = nullptr;
  double const value = std::strtod(text.c_str(), &end);
  if (end != text.c_str() + text.size() || !std::isfinite(value) || value < 0.0) {
    return std::nullopt;
  }
  return value;
}

// Pin-name fields and light-setting flags are named after the colours.
int colourIndex(std::string_view field) {
  auto const colour = Hardware::Gpio::colourNamed(field);
  return colour ? static_cast<int>(Hardware::Gpio::indexOf(*colour)) : -1;
}

std::string joined(std::vector<std::string_view> const& names) {
  std::string text;
  for (auto const& name : names) {
    if (!text.empty()) text += ',';
    text += name;
  }
  return text;
}

}  // namespace

Decoded<KeyName> keyNameOf(std::string_view key) {
  std::size_t const separator = key.find(kSeparator);
  if (separator == std::string_view::npos) {
    return refused<KeyName>("", "", "the key has no \"|\" between table and name");
  }
  KeyName result{key.substr(0, separator), key.substr(separator + 1)};
  if (!isValidName(result.name)) {
    return refused<KeyName>("", "",
                            "the name is empty or holds \"|\", \"/\" or \",\", which names "
                            "may not");
  }
  return {result, {}};
}

std::string keyOf(std::string_view table, std::string_view name) {
  std::string key(table);
  key += kSeparator;
  key += name;
  return key;
}

std::vector<FieldView> viewOf(Hash const& hash) {
  return {hash.begin(), hash.end()};
}

Decoded<Led::LightSetting> lightSettingOf(HashView hash, Led::LightSetting setting) {
  for (auto const& row : Hardware::Gpio::kColourTable) setting.*row.lit = false;
  setting.flashInterval = 0.0;
  for (auto const& [field, value] : hash) {
    if (int const colour = colourIndex(field); colour >= 0) {
      auto flag = flagOf(value);
      if (!flag) {
        return refused<Led::LightSetting>(std::string(field), std::string(value),
                                          "a flag is 0 or 1");
      }
      setting.*Hardware::Gpio::kColourTable[static_cast<std::size_t>(colour)].lit = *flag;
    } else if (field == "flashInterval") {
      auto interval = intervalOf(value);
      if (!interval) {
        return refused<Led::LightSetting>(std::string(field), std::string(value),
                                          "an interval is a finite number of seconds >= 0");
      }
      setting.flashInterval = *interval;
    }
  }
  return {setting, {}};
}

Hash hashOf(Led::LightSetting const& setting) {
  Hash hash;
  for (auto const& row : Hardware::Gpio::kColourTable)
    hash.emplace_back(row.name, setting.*row.lit ? "1" : "0");
  char interval[40];
  std::snprintf(interval, sizeof interval, "%.17g", setting.flashInterval);
  hash.emplace_back("flashInterval", interval);
  return hash;
}

std::optional<Refusal> mappingInto(HashView hash, Mapping& mapping) {
  for (auto& pins : mapping.pins) pins.clear();
  mapping.ready = false;
  auto refusal = [](std::string_view field, std::string_view value, char const* reason) {
    return Refusal{std::string(field), std::string(value), reason};
  };
  for (auto const& [field, value] : hash) {
    if (int const colour = colourIndex(field); colour >= 0) {
      std::string_view rest = value;
      while (!rest.empty()) {
        std::size_t const comma = rest.find(',');
        std::string_view const pin = rest.substr(0, comma);
        if (!isValidName(pin)) {
          return refusal(field, value, "pin names are non-empty, without \"|\" or \"/\"");
        }
        mapping.pins[colour].emplace_back(pin);
        if (comma == std::string_view::npos) break;
        rest.remove_prefix(comma + 1);
        if (rest.empty()) return refusal(field, value, "a pin list does not end in \",\"");
      }
    } else if (field == "ready") {
      auto flag = flagOf(value);
      if (!flag) return refusal(field, value, "a flag is 0 or 1");
      mapping.ready = *flag;
    }
  }
  return std::nullopt;
}

Decoded<Mapping> mappingOf(HashView hash) {
  Mapping mapping;
  if (auto refusal = mappingInto(hash, mapping)) return {std::nullopt, std::move(*refusal)};
  return {std::move(mapping), {}};
}

Hash hashOf(Mapping const& mapping) {
  Hash hash;
  for (auto const& row : Hardware::Gpio::kColourTable)
    hash.emplace_back(row.name, joined(mapping.pins[Hardware::Gpio::indexOf(row.colour)]));
  hash.emplace_back("ready", mapping.ready ? "1" : "0");
  return hash;
}

std::string refusalLine(std::string_view key, Refusal const& refusal) {
  std::string line = "statedb: refused ";
  line.append(key);
  if (!refusal.field.empty()) {
    line += " field " + refusal.field + " = \"" + refusal.value + "\"";
  }
  line += ": " + refusal.reason +
          (refusal.field.empty() ? "; ignored" : "; keeping the last good value");
  return line;
}

}  // namespace Statedb::Redis
