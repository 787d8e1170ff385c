// The colour elements of an LED that GPIO pins drive, as one table: each colour's name (in
// scripts, traces and on the panel) and the flag of a light setting that lights it. The model
// keeps one pin collection per colour; code that treats every colour alike walks kColourTable or
// kPinColours instead of writing a block per colour, and the table's order (yellow, green, red,
// orange) is the order in which pins are listed, made, written and removed everywhere.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/model/LightSetting.h"

namespace Hardware::Gpio {

enum class PinColour : std::uint8_t { yellow, green, red, orange };

struct ColourRow {
  PinColour colour;
  std::string_view name;
  bool Led::LightSetting::*lit;  // the setting's flag for this colour
};

inline constexpr std::array<ColourRow, 4> kColourTable = {{
    {PinColour::yellow, "yellow", &Led::LightSetting::yellow},
    {PinColour::green, "green", &Led::LightSetting::green},
    {PinColour::red, "red", &Led::LightSetting::red},
    {PinColour::orange, "orange", &Led::LightSetting::orange},
}};

inline constexpr std::size_t kPinColourCount = kColourTable.size();

constexpr std::size_t indexOf(PinColour colour) noexcept {
  return static_cast<std::size_t>(colour);
}

inline constexpr std::array<PinColour, kPinColourCount> kPinColours = [] {
  std::array<PinColour, kPinColourCount> colours{};
  for (std::size_t i = 0; i < kPinColourCount; ++i) colours[i] = kColourTable[i].colour;
  return colours;
}();

// Per-colour arrays everywhere are indexed by the enumerator: the table must list them in order.
static_assert([] {
  for (std::size_t i = 0; i < kPinColourCount; ++i) {
    if (indexOf(kColourTable[i].colour) != i) return false;
  }
  return true;
}());

constexpr std::string_view nameOf(PinColour colour) noexcept {
  return kColourTable[indexOf(colour)].name;
}

constexpr std::optional<PinColour> colourNamed(std::string_view name) noexcept {
  for (ColourRow const& row : kColourTable) {
    if (row.name == name) return row.colour;
  }
  return std::nullopt;
}

}  // namespace Hardware::Gpio
