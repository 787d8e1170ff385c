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

// Where the cells go: every cell is as wide as the longest name (up to kPanelNameWidth) allows.
struct PanelGeometry {
  std::size_t nameWidth = 1;
  std::size_t columns = 1;  // cells in a row
  std::size_t cellWidth = 1;

  // The screen column (from 0) of a colour element of the cell at `column` in its row.
  std::size_t elementColumn(std::size_t column, std::size_t colour) const noexcept;
  // The screen column of the cell's failure mark: the space between its name and its elements.
  std::size_t markColumn(std::size_t column) const noexcept;
};

PanelGeometry panelGeometry(std::vector<LedLights> const& leds, PanelStyle const& style);

// A cell's failure mark: '!' where the driver could not light a pin of the cell, else blank.
std::string failureGlyph(bool failing, PanelStyle const& style);

// One colour element as the panel draws it, with its colour.
std::string elementGlyph(ElementLight const& element, std::size_t colour, PanelStyle const& style);

std::vector<std::string> panelLines(std::string const& title, std::vector<LedLights> const& leds,
                                    std::string const& recent, PanelStyle const& style);

// Columns that a line takes on the terminal: escape sequences take none, a UTF-8 character one.
std::size_t visibleWidth(std::string_view text);
// Cuts a line to `width` columns, keeping its escape sequences balanced with a final reset.
std::string clipToWidth(std::string_view text, std::size_t width);

}  // namespace Host
