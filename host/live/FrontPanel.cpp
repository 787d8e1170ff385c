#include "host/live/FrontPanel.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "host/live/PinChangeLog.h"
#include "platform/zel/Allocate.h"

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

class FrontPanel::FrameTimer : public Zel::Clock::NotifieeConst {
 public:
  explicit FrameTimer(FrontPanel* owner) : owner_(owner) {}
  void onTime() override {
    if (owner_) owner_->drawFrame();
  }
  void ownerDel() noexcept { owner_ = nullptr; }

 private:
  FrontPanel* owner_;
};

FrontPanel::FrontPanel(Session& session, std::string title, std::ostream& out,
                       std::function<void()> afterLayout)
    : session_(session), title_(std::move(title)), out_(out), afterLayout_(std::move(afterLayout)) {
  style_.unicode = localeIsUtf8();
  ScreenSize const size = screenSize();
  screenRows_ = size.rows;
  style_.width = size.columns;
  out_ << "\033[2J";  // a clean screen: the panel owns the top, the console the rest
  reserveRows(3);
  redraw();
}

FrontPanel::~FrontPanel() {
  if (frameTimer_) {
    frameTimer_->ownerDel();
    frameTimer_->notifierIs(nullptr);
  }
  // Leaves the last picture of the panel on the screen and the console below it.
  out_ << "\033[r" << moveTo(screenRows_) << "\033[?25h\n";
  out_.flush();
}

void FrontPanel::pinChanged(PinChange const& change) {
  recent_.push_front(change);
  if (recent_.size() > kRecentChanges) recent_.pop_back();
  scheduleRedraw();
}

void FrontPanel::refresh() {
  redraw();
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
  redraw();
}

void FrontPanel::scheduleRedraw() {
  if (redrawQueued_) return;
  redrawQueued_ = true;
  // Every pin of a flash tick changes in one burst, and bursts come faster than a terminal can
  // show: one frame after the burst shows them all, and frames are spaced by kFramePeriod.
  if (!frameTimer_) {
    frameTimer_ = Zel::allocate<FrameTimer>(this);
    frameTimer_->notifierIs(session_.loop().clock());
  }
  double const now = session_.loop().currentTime();
  frameTimer_->timeMinIs(std::max(now, lastFrame_ + kFramePeriod));
}

void FrontPanel::drawFrame() {
  redrawQueued_ = false;
  lastFrame_ = session_.loop().currentTime();
  frameTimer_->timeMinIs(Zel::Clock::kNever);
  redraw();
}

std::vector<LedLights> FrontPanel::ledsInOrder() {
  std::vector<LedLights> leds = allLedLights(session_.mappings(), session_.pins());
  for (LedLights const& led : leds) order_.emplace(led.name, order_.size());
  std::sort(leds.begin(), leds.end(),
            [this](auto const& a, auto const& b) { return order_[a.name] < order_[b.name]; });
  return leds;
}

std::string FrontPanel::recentLine() const {
  std::string line = "recent:";
  for (PinChange const& change : recent_) line += "  " + formatPinChange(change);
  return recent_.empty() ? "recent: no pin has changed yet" : line;
}

void FrontPanel::redraw() {
  char elapsed[32];
  std::snprintf(elapsed, sizeof elapsed, "%.1f s", session_.elapsed());
  std::string const legend = style_.unicode ? "● lit  ○ dark" : "O lit  . dark";
  std::string const title =
      title_ + "   " + elapsed + "   " + legend + "   (yellow green red orange)";
  std::vector<std::string> lines = panelLines(title, ledsInOrder(), recentLine(), style_);
  reserveRows(static_cast<int>(lines.size()) + 1);
  int const shown = panelRows_ - 1;  // the last panel row stays blank, a rule above the console
  if (static_cast<int>(lines.size()) > shown) {
    std::size_t const hidden = lines.size() - static_cast<std::size_t>(shown) + 1;
    lines.resize(static_cast<std::size_t>(std::max(shown - 1, 0)));
    std::string note = "(";
    note.append(std::to_string(hidden)).append(" more rows: make the terminal taller)");
    lines.push_back(std::move(note));
  }
  lines.resize(static_cast<std::size_t>(panelRows_));
  if (drawn_.size() != lines.size()) drawn_.assign(lines.size(), std::string(1, '\0'));
  bool started = false;
  for (std::size_t row = 0; row < lines.size(); ++row) {
    if (lines[row] == drawn_[row]) continue;
    if (!started) out_ << "\033[?25l\0337";
    started = true;
    out_ << moveTo(static_cast<int>(row) + 1) << lines[row] << "\033[K";
    drawn_[row] = std::move(lines[row]);
  }
  if (!started) return;
  out_ << "\0338\033[?25h";
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
