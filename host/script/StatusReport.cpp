#include "host/script/StatusReport.h"

#include <algorithm>
#include <string>
#include <vector>

#include "host/script/LedLights.h"

namespace Host {

namespace {

bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

std::string litColours(LedLights const& lights) {
  std::string text;
  bool anyPins = false;
  for (std::size_t colour = 0; colour < kColourCount; ++colour) {
    anyPins = anyPins || lights.elements[colour].hasPins;
    if (!lights.elements[colour].lit) continue;
    if (!text.empty()) text += '+';
    text += Hardware::Gpio::kColourTable[colour].name;
  }
  if (text.empty()) return anyPins ? "dark" : "no pins";
  return text;
}

}  // namespace

bool naturalLess(std::string_view a, std::string_view b) {
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < a.size() && j < b.size()) {
    if (isDigit(a[i]) && isDigit(b[j])) {
      std::size_t const startA = i;
      std::size_t const startB = j;
      while (i < a.size() && isDigit(a[i])) ++i;
      while (j < b.size() && isDigit(b[j])) ++j;
      std::string_view runA = a.substr(startA, i - startA);
      std::string_view runB = b.substr(startB, j - startB);
      runA.remove_prefix(std::min(runA.find_first_not_of('0'), runA.size()));
      runB.remove_prefix(std::min(runB.find_first_not_of('0'), runB.size()));
      if (runA.size() != runB.size()) return runA.size() < runB.size();
      if (runA != runB) return runA < runB;
      continue;
    }
    if (a[i] != b[j]) return a[i] < b[j];
    ++i;
    ++j;
  }
  if (a.size() - i != b.size() - j) return a.size() - i < b.size() - j;
  return a < b;  // equal up to leading zeros: any fixed order will do
}

void showPins(Zel::Dir const& pins, std::ostream& out) {
  std::vector<std::pair<std::string, std::string>> rows;
  for (auto member : pins.entries()) {
    std::optional<std::uint32_t> const value = pinValue(pins, member.key);
    rows.emplace_back(member.key.stdString(), value ? std::to_string(*value) : "(not a pin)");
  }
  std::sort(rows.begin(), rows.end(),
            [](auto const& x, auto const& y) { return naturalLess(x.first, y.first); });
  if (rows.empty()) out << "no pins\n";
  for (auto const& [name, value] : rows) out << "pin " << name << ' ' << value << '\n';
}

void showLeds(Hardware::Gpio::GpioLedSystemConfigDir const& mappings, Zel::Dir const& pins,
              std::ostream& out) {
  std::vector<LedLights> all = allLedLights(mappings, pins);
  std::sort(all.begin(), all.end(),
            [](auto const& x, auto const& y) { return naturalLess(x.name, y.name); });
  if (all.empty()) out << "no leds\n";
  for (LedLights const& lights : all)
    out << "led " << lights.name << ' ' << litColours(lights) << '\n';
}

}  // namespace Host
