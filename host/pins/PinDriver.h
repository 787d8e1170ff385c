// Drives the mapped pins from the pin configuration the agent writes. The agent writes a pin
// dark and lit again within one change; hardware must not show that, so the driver only marks
// pins on notification and latches once per loop turn, writing each pin whose final value
// differs from what its hardware shows: one bulk write per GPIO request, one `brightness` write
// per changed LED. A lamp test lights everything for a while and then shows what the agent
// shows by then, without touching the agent's pin configuration.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

#include "host/pins/GpioLines.h"
#include "host/pins/PinBackend.h"
#include "host/pins/PinMap.h"
#include "platform/model/PinDirectoryFollower.h"
#include "platform/zel/ActivityManager.h"
#include "platform/zel/Dir.h"
#include "platform/zel/Ptr.h"
#include "platform/zel/Timer.h"
#include "platform/zel/WeakPtr.h"

namespace Drive {

// Pins that cannot be claimed at start; what() names each with its map line.
class DriveError : public std::runtime_error {
 public:
  DriveError(std::string const& what, bool transient)
      : std::runtime_error(what), transient_(transient) {}
  // True when every pin at fault is there but held or failing for now (a line another program
  // holds), so that a later start may claim it; false when the map names something that is not
  // there or cannot be driven, which only an edit of the map or of the hardware mends.
  bool transient() const noexcept { return transient_; }

 private:
  bool transient_;
};

struct DriverOptions {
  // Drive the pins that can be claimed and report the others, rather than refuse to start.
  bool partial = false;
  // Off: every notification is written at once (for measuring what latching saves).
  bool latch = true;
  // Makes the gpiod backend's line access; null: libgpiod on the real character devices.
  std::function<std::unique_ptr<GpioLines>()> gpioLines;
};

class PinDriver final : private Hardware::Gpio::PinDirectoryFollower::Owner {
 public:
  using Log = std::function<void(std::string const& line)>;
  // Told when a pin starts or stops failing, and once of each pin the agent writes that the map
  // does not name, so that a view marks just that pin.
  using FaultListener = std::function<void(std::string const& pin, bool failing)>;

  // What the driver has done since it started, for monitoring; indexed by Backend.
  struct Counters {
    std::array<std::uint64_t, kBackendCount> writes{};
    std::array<std::uint64_t, kBackendCount> writeErrors{};
    std::uint64_t lampTests = 0;
  };

  struct Pin {
    PinAddress const* address = nullptr;
    bool wanted = false;        // what the agent shows
    std::optional<bool> shown;  // what the hardware was last written to show
    bool claimed = false;
    std::string error;                // the latest failure, empty once a write succeeds
    std::vector<int> errorsReported;  // kinds already logged for this pin
    bool dirty = false;
  };

  // Checks every mapped pin, then claims them, lit as the pin configuration already stands.
  // Throws DriveError when a pin cannot be claimed, unless `options.partial`; a pin found
  // missing by the check is reported before any pin is touched.
  PinDriver(PinMap map, Zel::Dir& pins, Zel::ActivityManager& loop, Log log,
            DriverOptions options = {});
  ~PinDriver() override;
  PinDriver(PinDriver const&) = delete;
  PinDriver& operator=(PinDriver const&) = delete;

  // Throws DriveError naming every mapped pin that could not be claimed now, touching none: for
  // a start that must refuse a wrong map before it connects or starts anything else.
  static void check(PinMap const& map, DriverOptions const& options);

  // Lights every mapped pin for `seconds`, then shows what the agent shows at that time.
  void lampTest(double seconds);
  bool lampTestRunning() const noexcept;
  // Clean stop: drives the map's stop pattern, then stops following the pins.
  void stop();

  PinMap const& map() const noexcept { return map_; }
  std::vector<Pin> const& pins() const noexcept { return pins_; }
  Pin const* find(std::string const& name) const;
  // Pins that could not be claimed, as "map:line: pin 'X': reason".
  std::vector<std::string> const& missing() const noexcept { return missing_; }
  std::uint64_t writeCount() const noexcept { return writes_; }
  Counters const& counters() const noexcept { return counters_; }
  // Mapped pins whose last write or claim failed.
  std::size_t failingCount() const noexcept { return failing_; }
  std::unordered_set<std::string> const& unmapped() const noexcept { return warnedUnmapped_; }
  void faultListenerIs(FaultListener listener) { faultListener_ = std::move(listener); }

 private:
  using PinConfig = Hardware::Gpio::CorvelPinConfig;
  static constexpr Tag kUnmapped = static_cast<Tag>(-1);

  void claimAll();
  // The tag is the pin's position in pins_, or kUnmapped.
  Tag onPinArrived(std::string const& name, PinConfig const& pin) override;
  void onPinValue(Tag pin, std::string const& name, PinConfig const& config) override;
  void onPinLeft(std::string const& name) override;
  void onValue(std::size_t pin, bool lit);
  void mark(std::size_t pin);
  void markAll();
  void latch();
  void writeNow(std::vector<PinWrite> const& writes);
  void fault(PinFault const& fault);
  void errorIs(std::size_t pin, std::string text);
  void lampTestEnd();

  PinMap map_;
  Zel::Ptr<Zel::Dir> dir_;
  Zel::ActivityManager& loop_;
  Log log_;
  DriverOptions options_;
  std::vector<Pin> pins_;
  std::vector<std::unique_ptr<PinBackend>> backends_;  // by Backend
  std::vector<std::string> missing_;
  std::optional<Hardware::Gpio::PinDirectoryFollower> follower_;  // none once stopped
  std::unordered_set<std::string> warnedUnmapped_;
  std::vector<std::size_t> dirty_;
  std::vector<PinWrite> latchWrites_;              // reused by each latch
  std::vector<std::vector<PinWrite>> perBackend_;  // reused by each write
  bool latchQueued_ = false;
  bool lampOn_ = false;
  Zel::Timer lampTimer_;
  std::uint64_t writes_ = 0;
  Counters counters_;
  std::size_t failing_ = 0;
  FaultListener faultListener_;
  Zel::WeakPtrFactory<PinDriver> weak_{this};  // a queued latch outliving the driver finds it gone
};

}  // namespace Drive
