// The live view on a terminal: the panel stays at the top of the screen and redraws in place as
// the pins change, while the console and any messages scroll in the region below it.
#pragma once

#include <deque>
#include <functional>
#include <ostream>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/live/LiveView.h"
#include "host/live/PanelCells.h"
#include "host/live/PanelLayout.h"
#include "host/run/Session.h"
#include "platform/zel/Timer.h"

namespace Host {

class FrontPanel : public LiveView {
 public:
  // `out` is the terminal; `afterLayout` runs when the panel took more rows and the console
  // below it has to redraw its input line.
  FrontPanel(Session& session, std::string title, std::ostream& out,
             std::function<void()> afterLayout);
  ~FrontPanel() override;

  void pinChanged(PinChange const& change) override;
  void refresh() override;
  void resize() override;
  void driverIs(Drive::PinDriver* driver) override;

 private:
  void scheduleRedraw();
  void drawFrame();
  void layOut();
  void drawChanges();
  void appendCellChanges(std::string& frame, std::size_t width);
  void writeRow(std::string& out, std::size_t row, std::string line);
  void flushFrame(std::string const& frame);
  void reserveRows(int rows);
  std::vector<Hardware::Gpio::GpioLedConfig const*> mappingsInOrder();
  std::string titleLine() const;
  std::string recentLine() const;
  std::string driverStatus() const;

  static constexpr std::size_t kRecentChanges = 8;
  static constexpr int kMinConsoleRows = 4;

  Session& session_;
  std::string title_;
  std::ostream& out_;
  std::function<void()> afterLayout_;
  PanelStyle style_;
  int screenRows_ = 24;
  int panelRows_ = 0;
  std::unordered_map<std::string, std::size_t> order_;  // LED name -> when it was first seen
  std::deque<PinChange> recent_;
  PanelCells cells_;
  Drive::PinDriver* driver_ = nullptr;
  std::string driverBackends_;  // "file, gpiod": fixed while the driver runs
  std::size_t recentRow_ = 0;   // kNoRow when the recent line does not fit
  static constexpr std::size_t kNoRow = static_cast<std::size_t>(-1);
  bool layoutStale_ = true;  // LEDs may have come or gone: the next frame lays the panel out
  bool redrawQueued_ = false;
  // At most this many frames a second: a terminal cannot show more, and each costs a write.
  static constexpr double kFramePeriod = 1.0 / 25;
  double lastFrame_ = -1.0;
  Zel::Timer frameTimer_;
  std::vector<std::string> drawn_;  // the rows on the screen, so that a frame writes only changes
};

// True when the terminal's locale draws UTF-8.
bool localeIsUtf8();

}  // namespace Host
