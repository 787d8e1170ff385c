// The text of the front panel: a title line, the LEDs in a grid of cells (name and the four
// colour elements, lit or dark in their colours) as wide as the terminal allows, and a line of
// recent pin changes. Pure text with ANSI colours, so that it can be checked without a terminal.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/script/LedLights.h"

namespace Host {

struct PanelStyle {
  int width = 80;
  bool unicode = true;  // ● and ○ rather than O and .
  bool colour = true;   // ANSI colours
};

inline constexpr std::size_t kPanelNameWidth = 16;

std::vector<std::string> panelLines(std::string const& title, std::vector<LedLights> const& leds,
                                    std::string const& recent, PanelStyle const& style);

// Columns that a line takes on the terminal: escape sequences take none, a UTF-8 character one.
std::size_t visibleWidth(std::string_view text);
// Cuts a line to `width` columns, keeping its escape sequences balanced with a final reset.
std::string clipToWidth(std::string_view text, std::size_t width);

}  // namespace Host
