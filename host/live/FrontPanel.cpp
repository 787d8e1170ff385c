#include "host/live/FrontPanel.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "host/live/PinChangeLog.h"
#include "host/pins/PinDriver.h"

namespace Host {

namespace {

struct ScreenSize {
  int rows = 24;
  int columns = 80;
};

ScreenSize screenSize() {
  ScreenSize size;
  winsize ws{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &ws) == 0 && ws.ws_row > 0 && ws.ws_col > 0) {
    size.rows = ws.ws_row;
    size.columns = ws.ws_col;
  }
  return size;
}

std::string moveTo(int row) {
  return "\033[" + std::to_string(row) + ";1H";
}

void appendMoveTo(std::string& out, std::size_t row, std::size_t column) {
  out.append("\033[").append(std::to_string(row + 1)).append(";");
  out.append(std::to_string(column + 1)).append("H");
}

// A row that no longer holds what was drawn on it: the next layout rewrites it.
std::string const kUnknownRow(1, '\0');

}  // namespace

bool localeIsUtf8() {
  for (char const* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    char const* value = std::getenv(variable);
    if (!value || !*value) continue;
    std::string text(value);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text.find("utf-8") != std::string::npos || text.find("utf8") != std::string::npos;
  }
  return false;
}

FrontPanel::FrontPanel(Session& session, std::string title, std::ostream& out,
                       std::function<void()> afterLayout)
    : session_(session),
      title_(std::move(title)),
      out_(out),
      afterLayout_(std::move(afterLayout)),
      frameTimer_(session.loop(), [this] { drawFrame(); }) {
  style_.unicode = localeIsUtf8();
  ScreenSize const size = screenSize();
  screenRows_ = size.rows;
  style_.width = size.columns;
  out_ << "\033[2J";  // a clean screen: the panel owns the top, the console the rest
  reserveRows(3);
  layOut();
}

FrontPanel::~FrontPanel() {
  if (redrawQueued_) layOut();
  // Leaves the last picture of the panel on the screen and the console below it.
  out_ << "\033[r" << moveTo(screenRows_) << "\033[?25h\n";
  out_.flush();
}

void FrontPanel::pinChanged(PinChange const& change) {
  recent_.push_front(change);
  if (recent_.size() > kRecentChanges) recent_.pop_back();
  cells_.pinChanged(change.pin);
  scheduleRedraw();
}

void FrontPanel::refresh() {
  layoutStale_ = true;
  scheduleRedraw();
}

void FrontPanel::resize() {
  ScreenSize const size = screenSize();
  screenRows_ = size.rows;
  style_.width = size.columns;
  int const rows = panelRows_;
  panelRows_ = 0;
  drawn_.clear();
  out_ << "\033[2J";
  reserveRows(rows);
  layOut();
}

void FrontPanel::driverIs(Drive::PinDriver* driver) {
  if (driver_) driver_->faultListenerIs(nullptr);
  driver_ = driver;
  driverBackends_.clear();
  if (!driver_) return;
  bool used[3] = {false, false, false};
  for (Drive::PinAddress const& address : driver_->map().pins) {
    used[static_cast<std::size_t>(address.backend)] = true;
  }
  for (auto backend : {Drive::Backend::gpiod, Drive::Backend::led, Drive::Backend::file}) {
    if (!used[static_cast<std::size_t>(backend)]) continue;
    if (!driverBackends_.empty()) driverBackends_ += ", ";
    driverBackends_ += Drive::backendName(backend);
  }
  // What failed before the panel heard of the driver, then each change as it comes.
  for (Drive::PinDriver::Pin const& pin : driver_->pins()) {
    if (!pin.error.empty()) cells_.pinFailingIs(pin.address->pin, true);
  }
  for (std::string const& pin : driver_->unmapped()) cells_.pinFailingIs(pin, true);
  driver_->faultListenerIs([this](std::string const& pin, bool failing) {
    cells_.pinFailingIs(pin, failing);
    scheduleRedraw();
  });
  scheduleRedraw();
}

void FrontPanel::scheduleRedraw() {
  if (redrawQueued_) return;
  redrawQueued_ = true;
  // Every pin of a flash tick changes in one burst, and bursts come faster than a terminal can
  // show: one frame after the burst shows them all, and frames are spaced by kFramePeriod.
  double const now = session_.loop().currentTime();
  frameTimer_.startAt(std::max(now, lastFrame_ + kFramePeriod));
}

void FrontPanel::drawFrame() {
  redrawQueued_ = false;
  lastFrame_ = session_.loop().currentTime();
  frameTimer_.stop();
  if (layoutStale_) {
    layOut();
  } else {
    drawChanges();
  }
}

std::vector<Hardware::Gpio::GpioLedConfig const*> FrontPanel::mappingsInOrder() {
  std::vector<Hardware::Gpio::GpioLedConfig const*> mappings;
  for (auto member : session_.mappings().gpioLeds()) {
    order_.emplace(member.value->name().stdString(), order_.size());
    mappings.push_back(member.value.ptr());
  }
  std::vector<std::size_t> rank;
  rank.reserve(mappings.size());
  for (auto const* mapping : mappings) rank.push_back(order_[mapping->name().stdString()]);
  std::vector<std::size_t> index(mappings.size());
  for (std::size_t i = 0; i < index.size(); ++i) index[i] = i;
  std::sort(index.begin(), index.end(), [&rank](auto a, auto b) { return rank[a] < rank[b]; });
  std::vector<Hardware::Gpio::GpioLedConfig const*> ordered;
  ordered.reserve(mappings.size());
  for (std::size_t i : index) ordered.push_back(mappings[i]);
  return ordered;
}

std::string FrontPanel::titleLine() const {
  char elapsed[32];
  std::snprintf(elapsed, sizeof elapsed, "%.1f s", session_.elapsed());
  std::string const legend = style_.unicode ? "● lit  ○ dark" : "O lit  . dark";
  return title_ + "   " + elapsed + "   " + legend + "   (yellow green red orange)" +
         driverStatus();
}

// Cheap at every frame: the backends are known from the start and the driver counts its
// failing pins as they change.
std::string FrontPanel::driverStatus() const {
  if (!driver_) return {};
  std::string status = "   pins: " + driverBackends_;
  std::size_t const failing = driver_->failingCount();
  std::size_t const unmapped = driver_->unmapped().size();
  if (failing != 0) status += ", " + std::to_string(failing) + " failing";
  if (unmapped != 0) status += ", " + std::to_string(unmapped) + " unmapped";
  if (failing + unmapped != 0) status += " (!)";
  return status;
}

std::string FrontPanel::recentLine() const {
  std::string line = "recent:";
  for (PinChange const& change : recent_) line += "  " + formatPinChange(change);
  return recent_.empty() ? "recent: no pin has changed yet" : line;
}

// The whole panel from the agent's pins: when LEDs come or go and when the terminal changes.
void FrontPanel::layOut() {
  layoutStale_ = false;
  std::vector<LedLights> leds;
  std::vector<ElementPins> pins;
  for (auto const* mapping : mappingsInOrder()) {
    leds.push_back(ledLights(*mapping, session_.pins()));
    ElementPins& elementPins = pins.emplace_back();
    for (std::size_t colour = 0; colour < kColourCount; ++colour) {
      auto const& names = mapping->pinNames(static_cast<Hardware::Gpio::PinColour>(colour));
      for (auto member : names) elementPins[colour].push_back(member.key);
    }
  }
  std::vector<std::string> lines = panelLines(titleLine(), leds, recentLine(), style_);
  PanelGeometry const geometry = panelGeometry(leds, style_);
  std::size_t ledRows = lines.size() - 2;
  recentRow_ = lines.size() - 1;
  reserveRows(static_cast<int>(lines.size()) + 1);
  int const shown = panelRows_ - 1;  // the last panel row stays blank, a rule above the console
  if (static_cast<int>(lines.size()) > shown) {
    std::size_t const hidden = lines.size() - static_cast<std::size_t>(shown) + 1;
    lines.resize(static_cast<std::size_t>(std::max(shown - 1, 0)));
    std::string note = "(";
    note.append(std::to_string(hidden)).append(" more rows: make the terminal taller)");
    lines.push_back(std::move(note));
    ledRows = static_cast<std::size_t>(std::max(shown - 2, 0));
    recentRow_ = kNoRow;
  }
  cells_.layOut(leds, std::move(pins), geometry, 1, ledRows);
  lines.resize(static_cast<std::size_t>(panelRows_));
  if (drawn_.size() != lines.size()) drawn_.assign(lines.size(), kUnknownRow);
  std::string frame;
  for (std::size_t row = 0; row < lines.size(); ++row) writeRow(frame, row, std::move(lines[row]));
  appendCellChanges(frame, static_cast<std::size_t>(std::max(style_.width, 20)));
  flushFrame(frame);
}

// Between layouts only the elements whose light changed are drawn, each where it stands.
void FrontPanel::drawChanges() {
  std::string frame;
  std::size_t const width = static_cast<std::size_t>(std::max(style_.width, 20));
  writeRow(frame, 0, clipToWidth(titleLine(), width));
  appendCellChanges(frame, width);
  if (recentRow_ != kNoRow && recentRow_ < drawn_.size()) {
    writeRow(frame, recentRow_, clipToWidth(recentLine(), width));
  }
  flushFrame(frame);
}

void FrontPanel::appendCellChanges(std::string& frame, std::size_t width) {
  std::size_t cursorRow = kNoRow, cursorColumn = 0;
  for (PanelCells::Change const& change : cells_.changes(session_.pins())) {
    if (change.row >= drawn_.size() || change.column >= width) continue;
    if (change.row != cursorRow || change.column != cursorColumn) {
      appendMoveTo(frame, change.row, change.column);
    }
    frame += change.isFailureMark ? failureGlyph(change.failing, style_)
                                  : elementGlyph(change.light, change.colour, style_);
    cursorRow = change.row;
    cursorColumn = change.column + 1;
    drawn_[change.row] = kUnknownRow;
  }
}

void FrontPanel::writeRow(std::string& out, std::size_t row, std::string line) {
  if (line == drawn_[row]) return;
  out.append(moveTo(static_cast<int>(row) + 1)).append(line).append("\033[K");
  drawn_[row] = std::move(line);
}

void FrontPanel::flushFrame(std::string const& frame) {
  if (frame.empty()) return;
  // The cursor is hidden while it jumps about the panel and goes back to the console after.
  out_ << "\033[?25l\0337" << frame << "\0338\033[?25h";
  out_.flush();
}

void FrontPanel::reserveRows(int rows) {
  rows = std::min(rows, std::max(screenRows_ - kMinConsoleRows, 1));
  if (rows <= panelRows_) return;  // never shrinks: the console below keeps its place
  panelRows_ = rows;
  drawn_.clear();
  // The scroll region keeps console output below the panel; setting it homes the cursor, so the
  // cursor goes back to the console's last row.
  out_ << "\033[" << panelRows_ + 1 << ';' << screenRows_ << 'r' << moveTo(screenRows_);
  out_.flush();
  if (afterLayout_) afterLayout_();
}

}  // namespace Host
