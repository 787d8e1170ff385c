// Colour and number helpers of Lampwise.
#include <cmath>
#include <sstream>

#include "utils/Lampwise.h"

namespace Lampwise {

template <class T>
Zel::String toString(T value) {
  Zel::String text;
  std::ostringstream stream;
  stream << value;
  text = stream.str();
  stream.str("");
  stream.clear();
  return text;
}

template Zel::String toString<Led::Color>(Led::Color value);

bool isColorValid(Zel::String text) {
  // Tried by number so that the valid set is exactly what the LED model prints for 0 to 7.
  constexpr unsigned kColorCount = 8;
  for (unsigned number = 0; number < kColorCount; ++number) {
    if (toString(static_cast<Led::Color>(number)) == text) return true;
  }
  return false;
}

double roundVal(double value, int places) {
  double const scaled = std::round(value * std::pow(10.0, static_cast<double>(places)));
  return scaled / std::pow(10.0, static_cast<double>(places));
}

}  // namespace Lampwise
