// The pin map: which hardware lights each of the agent's pins. Read whole and checked before
// anything is driven, so that a typo never leaves half a panel claimed.
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

namespace Drive {

enum class Backend { gpiod, led, file };
inline constexpr std::size_t kBackendCount = 3;
char const* backendName(Backend backend) noexcept;

// What the driver leaves on the pins when warden stops cleanly.
enum class StopPattern { leave, dark, lit };

struct PinAddress {
  std::string pin;
  Backend backend = Backend::file;
  int line = 0;  // line of the map that names the pin, for every message about it
  // gpiod: chip by name, label, path or number; the line by offset or by name.
  std::string chip;
  std::optional<unsigned> lineOffset;
  std::string lineName;
  bool activeLow = false;
  // led: the LED class device under <sysfs root>/class/leds; brightness when lit, default the
  // device's max_brightness.
  std::string device;
  std::optional<unsigned> brightness;
  // file: a file of its own; empty: the map's shared values file.
  std::string path;
};

struct PinMap {
  std::string source;     // the map file, as named to warden
  std::string sysfsRoot;  // "/sys" unless the map says otherwise
  std::string valuesFile;
  StopPattern onStop = StopPattern::leave;
  std::vector<PinAddress> pins;
  std::unordered_map<std::string, std::size_t> index;  // pin name -> position in `pins`

  PinAddress const* find(std::string const& pin) const;
  // "map.toml:12", the place of a pin for messages.
  std::string where(PinAddress const& address) const;
};

// A refused map: what() reads "file:line: what is wrong".
class PinMapError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Relative paths in the map (files, sysfs root) are taken from the map's own directory.
PinMap loadPinMap(std::string const& path);
PinMap parsePinMap(std::string const& text, std::string const& source,
                   std::string const& baseDir = ".");

}  // namespace Drive
