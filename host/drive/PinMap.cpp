#include "host/drive/PinMap.h"

#include <toml++/toml.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

namespace Drive {

namespace {

int lineOf(toml::node const& node) noexcept {
  return static_cast<int>(node.source().begin.line);
}

// Reads one table of the map, refusing what it does not know, so that a misspelt key is a
// message rather than a silently ignored setting.
class TableReader {
 public:
  TableReader(toml::table const& table, std::string source, std::string what)
      : table_(table), source_(std::move(source)), what_(std::move(what)) {}

  [[noreturn]] void fail(int line, std::string const& message) const {
    throw PinMapError(source_ + ":" + std::to_string(line) + ": " + message);
  }
  [[noreturn]] void fail(std::string const& message) const { fail(lineOf(table_), message); }

  toml::node const* find(std::string_view key) {
    known_.emplace_back(key);
    return table_.get(key);
  }

  std::string text(std::string_view key, bool required) {
    toml::node const* node = find(key);
    if (!node) {
      if (required) fail(what_ + " lacks '" + std::string(key) + "'");
      return {};
    }
    if (!node->is_string()) fail(lineOf(*node), "'" + std::string(key) + "' must be a string");
    return node->value<std::string>().value_or("");
  }

  std::optional<unsigned> count(std::string_view key, toml::node const* node) {
    if (!node) return std::nullopt;
    auto const value = node->value<std::int64_t>();
    if (!node->is_integer() || !value || *value < 0 || *value > 0xffffffffLL) {
      fail(lineOf(*node), "'" + std::string(key) + "' must be a whole number from 0");
    }
    return static_cast<unsigned>(*value);
  }

  bool flag(std::string_view key) {
    toml::node const* node = find(key);
    if (!node) return false;
    if (!node->is_boolean())
      fail(lineOf(*node), "'" + std::string(key) + "' must be true or false");
    return node->value<bool>().value_or(false);
  }

  // Everything read has been asked for by name; anything else is a mistake in the map.
  void refuseOthers() const {
    for (auto const& [key, node] : table_) {
      bool known = false;
      for (std::string const& k : known_) known = known || k == key.str();
      if (!known) fail(lineOf(node), "unknown key '" + std::string(key.str()) + "' in " + what_);
    }
  }

 private:
  toml::table const& table_;
  std::string source_;
  std::string what_;
  std::vector<std::string> known_;
};

std::string resolved(std::string const& path, std::string const& baseDir) {
  if (path.empty() || std::filesystem::path(path).is_absolute()) return path;
  return (std::filesystem::path(baseDir) / path).lexically_normal().string();
}

void readGpiod(TableReader& reader, PinAddress& pin) {
  toml::node const* chip = reader.find("chip");
  if (!chip) reader.fail(pin.line, "gpiod pin '" + pin.pin + "' lacks 'chip'");
  if (chip->is_integer()) {
    pin.chip = std::to_string(*reader.count("chip", chip));
  } else if (chip->is_string()) {
    pin.chip = chip->value<std::string>().value_or("");
  } else {
    reader.fail(lineOf(*chip), "'chip' must be a name, label, path or number");
  }
  toml::node const* line = reader.find("line");
  if (!line) reader.fail(pin.line, "gpiod pin '" + pin.pin + "' lacks 'line'");
  if (line->is_integer()) {
    pin.lineOffset = reader.count("line", line);
  } else if (line->is_string()) {
    pin.lineName = line->value<std::string>().value_or("");
  } else {
    reader.fail(lineOf(*line), "'line' must be an offset or a line name");
  }
  pin.activeLow = reader.flag("active_low");
}

void readLed(TableReader& reader, PinAddress& pin) {
  pin.device = reader.text("device", true);
  pin.brightness = reader.count("brightness", reader.find("brightness"));
}

PinAddress readPin(toml::table const& table, PinMap const& map, std::string const& baseDir) {
  TableReader reader(table, map.source, "pin");
  PinAddress pin;
  pin.line = lineOf(table);
  pin.pin = reader.text("name", true);
  if (pin.pin.empty()) reader.fail("pin has an empty 'name'");
  std::string const backend = reader.text("backend", true);
  if (backend == "gpiod") {
    pin.backend = Backend::gpiod;
    readGpiod(reader, pin);
  } else if (backend == "led") {
    pin.backend = Backend::led;
    readLed(reader, pin);
  } else if (backend == "file") {
    pin.backend = Backend::file;
    pin.path = resolved(reader.text("path", false), baseDir);
    if (pin.path.empty() && map.valuesFile.empty()) {
      reader.fail("file pin '" + pin.pin + "' has no 'path' and the map no 'values_file'");
    }
  } else {
    reader.fail(lineOf(*table.get("backend")),
                "unknown backend '" + backend + "' (gpiod, led or file)");
  }
  reader.refuseOthers();
  return pin;
}

StopPattern stopPattern(TableReader& reader) {
  toml::node const* node = reader.find("on_stop");
  std::string const text = reader.text("on_stop", false);
  if (!node || text == "leave") return StopPattern::leave;
  if (text == "dark") return StopPattern::dark;
  if (text == "lit") return StopPattern::lit;
  reader.fail(lineOf(*node), "'on_stop' must be leave, dark or lit");
}

}  // namespace

char const* backendName(Backend backend) noexcept {
  switch (backend) {
    case Backend::gpiod:
      return "gpiod";
    case Backend::led:
      return "led";
    case Backend::file:
      return "file";
  }
  return "?";
}

PinAddress const* PinMap::find(std::string const& pin) const {
  auto const found = index.find(pin);
  return found == index.end() ? nullptr : &pins[found->second];
}

std::string PinMap::where(PinAddress const& address) const {
  return source + ":" + std::to_string(address.line);
}

PinMap parsePinMap(std::string const& text, std::string const& source, std::string const& baseDir) {
  toml::table root;
  try {
    root = toml::parse(text, source);
  } catch (toml::parse_error const& error) {
    throw PinMapError(source + ":" + std::to_string(error.source().begin.line) + ": " +
                      std::string(error.description()));
  }
  PinMap map;
  map.source = source;
  TableReader reader(root, source, "the map");
  map.sysfsRoot = resolved(reader.text("sysfs_root", false), baseDir);
  if (map.sysfsRoot.empty()) map.sysfsRoot = "/sys";
  map.valuesFile = resolved(reader.text("values_file", false), baseDir);
  map.onStop = stopPattern(reader);
  toml::node const* pins = reader.find("pin");
  reader.refuseOthers();
  if (!pins) reader.fail(1, "the map names no pin ([[pin]] tables)");
  toml::array const* list = pins->as_array();
  if (!list || !list->is_array_of_tables()) {
    reader.fail(lineOf(*pins), "'pin' must be a list of [[pin]] tables");
  }
  for (toml::node const& node : *list) {
    PinAddress pin = readPin(*node.as_table(), map, baseDir);
    auto const [at, added] = map.index.emplace(pin.pin, map.pins.size());
    if (!added) {
      reader.fail(pin.line, "pin '" + pin.pin + "' is already mapped at line " +
                                std::to_string(map.pins[at->second].line));
    }
    map.pins.push_back(std::move(pin));
  }
  return map;
}

PinMap loadPinMap(std::string const& path) {
  std::ifstream in(path);
  if (!in) throw PinMapError(path + ": cannot read the pin map: " + std::strerror(errno));
  std::ostringstream text;
  text << in.rdbuf();
  std::string const dir = std::filesystem::path(path).parent_path().string();
  return parsePinMap(text.str(), path, dir.empty() ? "." : dir);
}

}  // namespace Drive
