// Led::Color: the colour names of the LED model, numbered 0 to 7.
#pragma once

#include <cstdint>
#include <iosfwd>

namespace Led {

enum class Color : std::uint8_t {
  red = 0,
  green = 1,
  yellow = 2,
  orange = 3,
  blue = 4,
  white = 5,
  amber = 6,
  purple = 7,
};

// Writes the colour's text ("red", "green", ...); a value outside 0..7 prints as "Color(N)".
std::ostream& operator<<(std::ostream& out, Color const& color);

}  // namespace Led
