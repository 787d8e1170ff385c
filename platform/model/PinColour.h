// The colour elements of an LED that GPIO pins drive. The model keeps one pin collection per
// colour; code that treats every colour alike walks kPinColours instead of writing a block per
// colour, and the order of that walk (yellow, green, red, orange) is the order in which pins are
// listed, made, written and removed everywhere.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Hardware::Gpio {

enum class PinColour : std::uint8_t { yellow, green, red, orange };

inline constexpr std::size_t kPinColourCount = 4;
inline constexpr std::array<PinColour, kPinColourCount> kPinColours = {
    PinColour::yellow, PinColour::green, PinColour::red, PinColour::orange};

constexpr std::size_t indexOf(PinColour colour) noexcept {
  return static_cast<std::size_t>(colour);
}

}  // namespace Hardware::Gpio
