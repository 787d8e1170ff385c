#include "platform/model/Color.h"

#include <ostream>

namespace Led {

std::ostream& operator<<(std::ostream& out, Color const& color) {
  static char const* const kTexts[] = {"red",  "green", "yellow", "orange",
                                       "blue", "white", "amber",  "purple"};
  auto index = static_cast<unsigned>(color);
  if (index < sizeof kTexts / sizeof kTexts[0]) return out << kTexts[index];
  return out << "Color(" << index << ")";
}

}  // namespace Led
