#include "host/run/TraceLevels.h"

#include "platform/zel/Trace.h"

namespace Host {

bool parseTraceLevelList(std::string const& text, std::uint32_t& levels) {
  if (text == "none") {
    levels = 0;
    return true;
  }
  // Numbers of more than two digits are never levels; refusing them up front keeps the
  // framework's parser away from overflowing input.
  std::size_t digits = 0;
  for (char c : text) {
    bool const isDigit = c >= '0' && c <= '9';
    digits = isDigit ? digits + 1 : 0;
    if (digits > 2) return false;
  }
  return text.size() <= 64 && Zel::parseTraceLevels(text, levels);
}

}  // namespace Host
