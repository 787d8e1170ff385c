#include "host/live/PanelLayout.h"

#include <algorithm>

namespace Host {

namespace {

constexpr char kReset[] = "\033[0m";
constexpr std::size_t kCellGap = 2;

// Lit and dark renditions of each colour element, indexed by Colour.
constexpr char const* kLitColour[kColourCount] = {"\033[1;93m", "\033[1;92m", "\033[1;91m",
                                                  "\033[1;38;5;208m"};
constexpr char const* kDarkColour[kColourCount] = {"\033[2;33m", "\033[2;32m", "\033[2;31m",
                                                   "\033[2;38;5;130m"};

bool isContinuationByte(char c) noexcept {
  return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

std::string cell(LedLights const& led, std::size_t nameWidth, PanelStyle const& style) {
  std::string name = led.name.substr(0, nameWidth);
  if (led.name.size() > nameWidth) name.back() = '~';
  name.resize(nameWidth, ' ');
  std::string text = name + ' ';
  for (std::size_t colour = 0; colour < kColourCount; ++colour) {
    text += elementGlyph(led.elements[colour], colour, style);
  }
  return text;
}

}  // namespace

std::string elementGlyph(ElementLight const& element, std::size_t colour, PanelStyle const& style) {
  if (!element.hasPins) {
    if (!style.unicode) return " ";
    return style.colour ? std::string("\033[90m·") + kReset : std::string("·");
  }
  std::string glyph = element.lit ? (style.unicode ? "●" : "O") : (style.unicode ? "○" : ".");
  if (!style.colour) return glyph;
  return std::string(element.lit ? kLitColour[colour] : kDarkColour[colour]) + glyph + kReset;
}

std::string failureGlyph(bool failing, PanelStyle const& style) {
  if (!failing) return " ";
  return style.colour ? std::string("\033[1;97;41m!") + kReset : std::string("!");
}

std::size_t PanelGeometry::markColumn(std::size_t column) const noexcept {
  return column * (cellWidth + kCellGap) + nameWidth;
}

std::size_t PanelGeometry::elementColumn(std::size_t column, std::size_t colour) const noexcept {
  return column * (cellWidth + kCellGap) + nameWidth + 1 + colour;
}

PanelGeometry panelGeometry(std::vector<LedLights> const& leds, PanelStyle const& style) {
  std::size_t const width = static_cast<std::size_t>(std::max(style.width, 20));
  PanelGeometry geometry;
  for (LedLights const& led : leds)
    geometry.nameWidth = std::max(geometry.nameWidth, led.name.size());
  geometry.nameWidth = std::min(geometry.nameWidth, kPanelNameWidth);
  geometry.cellWidth = geometry.nameWidth + 1 + kColourCount;
  geometry.columns = std::max<std::size_t>(1, (width + kCellGap) / (geometry.cellWidth + kCellGap));
  return geometry;
}

std::size_t visibleWidth(std::string_view text) {
  std::size_t width = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\033') {
      while (i < text.size() && !(text[i] >= '@' && text[i] <= '~' && text[i] != '[')) ++i;
      continue;
    }
    if (!isContinuationByte(text[i])) ++width;
  }
  return width;
}

std::string clipToWidth(std::string_view text, std::size_t width) {
  std::string out;
  std::size_t shown = 0;
  bool escaped = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\033') {
      std::size_t const start = i;
      while (i < text.size() && !(text[i] >= '@' && text[i] <= '~' && text[i] != '[')) ++i;
      out.append(text.substr(start, i - start + 1));
      escaped = true;
      continue;
    }
    if (!isContinuationByte(text[i])) {
      if (shown == width) break;
      ++shown;
    }
    out += text[i];
  }
  if (escaped) out += kReset;
  return out;
}

std::vector<std::string> panelLines(std::string const& title, std::vector<LedLights> const& leds,
                                    std::string const& recent, PanelStyle const& style) {
  std::size_t const width = static_cast<std::size_t>(std::max(style.width, 20));
  std::vector<std::string> lines;
  lines.push_back(clipToWidth(title, width));

  PanelGeometry const geometry = panelGeometry(leds, style);
  std::size_t const nameWidth = geometry.nameWidth;
  std::size_t const columns = geometry.columns;
  for (std::size_t first = 0; first < leds.size(); first += columns) {
    std::string row;
    for (std::size_t i = first; i < std::min(first + columns, leds.size()); ++i) {
      if (i != first) row.append(kCellGap, ' ');
      row += cell(leds[i], nameWidth, style);
    }
    lines.push_back(clipToWidth(row, width));
  }
  if (leds.empty()) lines.push_back("(no LED is mapped yet)");
  lines.push_back(clipToWidth(recent, width));
  return lines;
}

}  // namespace Host
