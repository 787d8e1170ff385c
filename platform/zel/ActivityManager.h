// The activity loop: the one thread on which notifications, clock expiries, completions and the
// host's own work run, one at a time. Its time source is either the monotonic clock (live) or a
// virtual clock that only moves when told to, which makes every test and simulation
// deterministic: advancing virtual time runs each expiry due in the span, in time order, with
// currentTime() equal to that expiry's own time, and returns as soon as the work is done.
#pragma once

#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <limits>
#include <memory>
#include <unordered_map>
#include <vector>

struct epoll_event;

#include "platform/zel/Clock.h"
#include "platform/zel/Entity.h"

namespace Zel {

class ActivityManager {
 public:
  enum class TimeSource { monotonic, virtualTime };
  using ExceptionHandler = std::function<void(std::exception_ptr)>;

  explicit ActivityManager(TimeSource source, double startTime = 0.0);
  ~ActivityManager();
  ActivityManager(ActivityManager const&) = delete;
  ActivityManager& operator=(ActivityManager const&) = delete;

  TimeSource timeSource() const noexcept { return source_; }
  // The clock of this loop; every reactor that needs waking attaches to it.
  Ptr<Clock> const& clock() const noexcept { return clock_; }
  // Seconds: monotonic time when live; the virtual time otherwise, which during an expiry is
  // that expiry's own wake-up time.
  double currentTime() const noexcept;

  // Queues the delivery of one attribute notification of `notifier` (key null for a
  // single-valued attribute or a whole-collection change).
  void notificationIs(Ptr<Entity const> notifier, AttributeId attribute, Name const* key);
  // Queues a piece of work, run in order with the notifications.
  void taskIs(std::function<void()> task);
  // Queues work for the end of the current turn: it runs once the queued work has run and, while
  // expiries run, once every expiry due at the same instant has run with its work. Whoever wants
  // to see the outcome of a whole turn (a driver latching pin values) waits for it here rather
  // than acting on each of the turn's intermediate states.
  void turnEndTaskIs(std::function<void()> task);
  bool hasPending() const noexcept { return !pending_.empty() || !turnEnd_.empty(); }
  std::size_t pendingCount() const noexcept { return pending_.size(); }

  // Runs queued work until nothing is pending (work may queue more), then the turn-end work.
  // Time does not move. Returns the number of items run.
  std::size_t runPending();

  // Virtual time only: runs every expiry due up to and including now + seconds, in time order,
  // the queued work after each, then sets the time to now + seconds.
  void advance(double seconds);

  // Live: runs the loop on the monotonic clock for `seconds` (run(): until stop()).
  void runFor(double seconds);
  void run();
  void stop() noexcept { stopRequested_ = true; }

  // Live: calls `onReadable` from the loop whenever `fd` can be read; null removes the watch.
  // A descriptor the system cannot watch (a regular file, a closed one) raises std::system_error
  // at once and is not watched.
  void fdReadableIs(int fd, std::function<void()> onReadable);
  // Calls `onWritable` whenever `fd` can take more output; null removes the watch. Clients with
  // buffered output watch for this only until the buffer drains, since a socket is nearly
  // always writable.
  void fdWritableIs(int fd, std::function<void()> onWritable);
  // Waits up to `seconds` for a watched descriptor, runs the handlers of those that are ready
  // and then the queued work; time does not move. Lets a virtual-time run talk to a real peer.
  // Returns the number of handlers run.
  std::size_t pollIo(double seconds);

  // The live loop runs expiries at most once per this span (default 1 ms): an expiry that falls
  // due sooner after the previous run of expiries waits for the span to end, and then runs in
  // the same wake as every other expiry due by then; one due after a quiet span runs at its own
  // time. Waking costs far more than an expiry, so this bounds the wakes per second however many
  // timers there are. 0 wakes for every expiry.
  // Nothing runs early, so an expiry due just after a run waits up to the span: with 10,000 LEDs
  // flashing out of phase, 1 ms gives about 900 wakes a second and a p99 lateness near 1 ms at
  // under 4 % of a core; 0.25 ms gives a p99 near the machine's own, at three times the wakes and
  // twice the CPU (scripts/bench). A millisecond late is nothing an LED can show; a core's share
  // is something an appliance pays for, so 1 ms it is.
  void wakeGranularityIs(double seconds) noexcept { wakeGranularity_ = seconds; }
  std::uint64_t wakeCount() const noexcept { return wakes_; }

  // Receives exceptions that escape handlers and tasks; the default rethrows them out of
  // runPending/advance/run (the failing item is dropped first; the rest stay queued). A host
  // that must go on delivering, as a framework does, installs a handler that reports and returns.
  void exceptionHandlerIs(ExceptionHandler handler) { exceptionHandler_ = std::move(handler); }

 private:
  struct Pending {
    Ptr<Entity const> notifier;
    AttributeId attribute = 0;
    bool keyed = false;
    Name key;
    std::function<void()> task;
  };

  // A reactor held back from the pass in which it re-armed itself into the past.
  struct Postponed {
    Ptr<Clock::NotifieeConst> reactor;
    double time;
  };

  void runOne(Pending& item);
  std::size_t runTurnEnd();
  bool runExpiryOfRun(double now);
  bool runOneExpiry(double now);
  void restorePostponed();
  void report(std::exception_ptr error);
  void runLive(double until);
  struct FdWatch {
    std::function<void()> onReadable;
    std::function<void()> onWritable;
  };

  void makePoller();
  void watchSet(int fd, FdWatch const& watch, bool known);
  void fdWatchIs(int fd, FdWatch watch);
  void waitForWork(double until);
  std::size_t dispatch(struct epoll_event const* events, int count);

  TimeSource source_;
  double virtualNow_;
  Ptr<Clock> clock_;
  std::deque<Pending> pending_;
  std::vector<std::function<void()>> turnEnd_;
  std::vector<std::function<void()>> turnEndRunning_;
  bool inExpiryRun_ = false;  // turn-end work waits for the rest of the run's expiries
  std::vector<Postponed> postponed_;
  bool runningPending_ = false;
  bool stopRequested_ = false;
  double wakeGranularity_ = 0.001;
  double lastExpiryRun_ = -Clock::kNever;  // loop time of the latest live run of expiries
  std::uint64_t wakes_ = 0;
  ExceptionHandler exceptionHandler_;
  int epollFd_ = -1;
  int timerFd_ = -1;
  // The wake the timer is set for and has not yet reached (not a number: unknown).
  double timerSetFor_ = std::numeric_limits<double>::quiet_NaN();
  std::unordered_map<int, FdWatch> fdWatches_;
};

// The process's activity loop: the one installed by the innermost live ActivityManagerScope;
// when no scope is live, a monotonic loop made on first use that lasts until the process exits.
ActivityManager* activityManager();
// The same loop, but null rather than a new one when none exists yet.
ActivityManager* installedActivityManager() noexcept;

namespace System {
// The current time of the process's activity loop, in seconds. Asking makes no loop: with none
// yet, it is the monotonic clock, which is what the loop made on first use would report.
double currentTime() noexcept;
// The monotonic clock, in seconds: a live loop's time source.
double monotonicTime() noexcept;
}  // namespace System

}  // namespace Zel
