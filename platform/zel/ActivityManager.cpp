#include "platform/zel/ActivityManager.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>
#include <system_error>

namespace Zel {

namespace {

timespec toTimespec(double seconds) noexcept {
  timespec ts;
  double whole = std::floor(seconds);
  ts.tv_sec = static_cast<time_t>(whole);
  ts.tv_nsec = static_cast<long>((seconds - whole) * 1e9);
  if (ts.tv_nsec >= 1000000000L) {
    ++ts.tv_sec;
    ts.tv_nsec -= 1000000000L;
  }
  return ts;
}

// A failed system call of the loop: the loop cannot go on, so the caller learns which call on
// which descriptor failed and why.
[[noreturn]] void throwSystemError(char const* call, int fd) {
  int const error = errno;
  std::string what = "activity loop: ";
  what += call;
  if (fd >= 0) {
    what += " (fd ";
    what += std::to_string(fd);
    what += ')';
  }
  throw std::system_error(error, std::generic_category(), what);
}

}  // namespace

ActivityManager::ActivityManager(TimeSource source, double startTime)
    : source_(source), virtualNow_(startTime), clock_(Clock::clockIs("clock")) {}

ActivityManager::~ActivityManager() {
  if (timerFd_ >= 0) ::close(timerFd_);
  if (epollFd_ >= 0) ::close(epollFd_);
}

double ActivityManager::currentTime() const noexcept {
  return source_ == TimeSource::virtualTime ? virtualNow_ : System::monotonicTime();
}

void ActivityManager::notificationIs(Ptr<Entity const> notifier, AttributeId attribute,
                                     Name const* key) {
  Pending& item = pending_.emplace_back();
  item.notifier = std::move(notifier);
  item.attribute = attribute;
  if (key) {
    item.keyed = true;
    item.key = *key;
  }
}

void ActivityManager::taskIs(std::function<void()> task) {
  pending_.emplace_back().task = std::move(task);
}

void ActivityManager::turnEndTaskIs(std::function<void()> task) {
  turnEnd_.push_back(std::move(task));
}

void ActivityManager::report(std::exception_ptr error) {
  if (!exceptionHandler_) std::rethrow_exception(error);
  exceptionHandler_(error);
}

void ActivityManager::runOne(Pending& item) {
  try {
    if (item.task) {
      item.task();
    } else {
      item.notifier->deliver(item.attribute, item.keyed ? &item.key : nullptr);
    }
  } catch (...) {
    report(std::current_exception());
  }
}

std::size_t ActivityManager::runPending() {
  if (runningPending_) return 0;  // a handler that pumps the loop: the outer call goes on
  runningPending_ = true;
  struct Reset {
    bool& flag;
    ~Reset() { flag = false; }
  } reset{runningPending_};
  std::size_t ran = 0;
  do {
    while (!pending_.empty()) {
      Pending item = std::move(pending_.front());
      pending_.pop_front();
      runOne(item);
      ++ran;
    }
    if (!inExpiryRun_) ran += runTurnEnd();
  } while (!pending_.empty());
  return ran;
}

std::size_t ActivityManager::runTurnEnd() {
  if (turnEnd_.empty()) return 0;
  // Both lists keep their capacity from turn to turn: a turn allocates nothing for them.
  turnEndRunning_.swap(turnEnd_);
  struct Clear {
    std::vector<std::function<void()>>& tasks;
    ~Clear() { tasks.clear(); }
  } clear{turnEndRunning_};
  for (auto& task : turnEndRunning_) {
    try {
      task();
    } catch (...) {
      report(std::current_exception());
    }
  }
  return turnEndRunning_.size();
}

bool ActivityManager::runExpiryOfRun(double now) {
  struct Reset {
    bool& flag;
    ~Reset() { flag = false; }
  } reset{inExpiryRun_};
  inExpiryRun_ = true;
  return runOneExpiry(now);
}

bool ActivityManager::runOneExpiry(double now) {
  Ptr<Clock::NotifieeConst> due = clock_->expiryDue(now);
  if (!due) return false;
  if (source_ == TimeSource::virtualTime && due->timeMin() > virtualNow_) {
    virtualNow_ = due->timeMin();  // a time already past fires at the current time instead
  }
  bool const live = source_ != TimeSource::virtualTime;
  double const firedAt = live ? now : virtualNow_;
  if (due->isLive()) {
    try {
      due->onTime();
    } catch (...) {
      report(std::current_exception());
    }
  }
  // A reactor that re-arms itself for a time not after the one it just ran at (a negative or
  // vanishing interval) would run again at once, forever, without time moving. It waits for the
  // next pass of the loop instead: the next advance, or the next turn of the live loop.
  // Live, `now` may be an earlier reading of the clock than the one the reactor re-armed from;
  // the clock is read again only for a time near enough to have passed since.
  if (due->isArmed() &&
      (due->timeMin() <= firedAt ||
       (live && due->timeMin() <= firedAt + wakeGranularity_ && due->timeMin() <= currentTime()))) {
    postponed_.push_back({due, due->timeMin()});
    due->timeMinIs(Clock::kNever);
  }
  runPending();
  return true;
}

void ActivityManager::restorePostponed() {
  if (postponed_.empty()) return;
  std::vector<Postponed> postponed;
  postponed.swap(postponed_);
  for (Postponed& p : postponed) {
    if (p.reactor->timeMin() == Clock::kNever) p.reactor->timeMinIs(p.time);
  }
}

void ActivityManager::advance(double seconds) {
  restorePostponed();
  runPending();
  double const target = virtualNow_ + seconds;
  while (runExpiryOfRun(target)) {
    // Expiries due at one instant make one turn.
    if (clock_->nextExpiry() > virtualNow_) runPending();
  }
  if (target > virtualNow_) virtualNow_ = target;
  runPending();
}

void ActivityManager::runFor(double seconds) {
  runLive(System::monotonicTime() + seconds);
}

void ActivityManager::run() {
  runLive(Clock::kNever);
}

void ActivityManager::runLive(double until) {
  stopRequested_ = false;
  for (;;) {
    restorePostponed();
    runPending();
    double const now = currentTime();
    if (!stopRequested_ && runExpiryOfRun(now)) {
      lastExpiryRun_ = now;
      // Expiries that fall due while this run goes on join it rather than wait a whole span,
      // but the run takes in nothing due later than a span after it began.
      // The clock is read again only once every expiry due by its last reading has run.
      double const horizon = now + wakeGranularity_;
      double upTo = now;
      while (!stopRequested_) {
        if (clock_->nextExpiry() > upTo) {
          upTo = std::min(currentTime(), horizon);
          if (clock_->nextExpiry() > upTo) break;
        }
        runExpiryOfRun(upTo);
      }
      runPending();  // the run's turn ends
    }
    if (stopRequested_ || now >= until) break;
    // A reactor held back from the run is due at the latest by the next turn; left out of the
    // wake, it would wait for whatever else is armed, and reactors that keep re-arming just
    // behind the clock would all run in that later wake at once.
    restorePostponed();
    waitForWork(until);
  }
  runPending();
}

void ActivityManager::makePoller() {
  if (epollFd_ >= 0) return;
  int const epollFd = ::epoll_create1(EPOLL_CLOEXEC);
  if (epollFd < 0) throwSystemError("epoll_create1", -1);
  int const timerFd = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
  if (timerFd < 0) {
    int const error = errno;
    ::close(epollFd);
    errno = error;
    throwSystemError("timerfd_create", -1);
  }
  // Edge-triggered: re-arming the timer clears its expiry count, so it is never read.
  epoll_event ev{};
  ev.events = EPOLLIN | EPOLLET;
  ev.data.fd = timerFd;
  if (::epoll_ctl(epollFd, EPOLL_CTL_ADD, timerFd, &ev) != 0) {
    int const error = errno;
    ::close(timerFd);
    ::close(epollFd);
    errno = error;
    throwSystemError("epoll_ctl ADD", timerFd);
  }
  epollFd_ = epollFd;
  timerFd_ = timerFd;
}

void ActivityManager::watchSet(int fd, FdWatch const& watch, bool known) {
  epoll_event ev{};
  ev.events = (watch.onReadable ? EPOLLIN : 0u) | (watch.onWritable ? EPOLLOUT : 0u);
  ev.data.fd = fd;
  if (::epoll_ctl(epollFd_, known ? EPOLL_CTL_MOD : EPOLL_CTL_ADD, fd, &ev) != 0) {
    throwSystemError(known ? "epoll_ctl MOD" : "epoll_ctl ADD", fd);
  }
}

void ActivityManager::waitForWork(double until) {
  makePoller();
  if (hasPending()) return;
  // Spaced from the previous run rather than on a fixed grid: a reactor that re-arms from the
  // time it ran would land just after a grid point and wait almost a whole span every time.
  double const nextAllowed = lastExpiryRun_ + wakeGranularity_;
  double const wake = std::min(std::max(clock_->nextExpiry(), nextAllowed), until);
  // An absolute timerfd has no timer slack, unlike a relative epoll timeout.
  // A timer still set for this very time (the last wake was a descriptor's) stays as it is.
  if (wake != timerSetFor_) {
    itimerspec timer{};
    if (wake != Clock::kNever) {
      timer.it_value = toTimespec(wake);
      if (timer.it_value.tv_sec == 0 && timer.it_value.tv_nsec == 0) timer.it_value.tv_nsec = 1;
    }
    timerSetFor_ = std::numeric_limits<double>::quiet_NaN();  // should the call fail
    if (::timerfd_settime(timerFd_, TFD_TIMER_ABSTIME, &timer, nullptr) != 0) {
      throwSystemError("timerfd_settime", timerFd_);
    }
    timerSetFor_ = wake;
  }
  epoll_event events[16];
  int const n = ::epoll_wait(epollFd_, events, 16, -1);
  ++wakes_;
  if (n < 0) {
    // A signal cut the wait short: the caller's loop looks at the time and the stop flag again.
    if (errno == EINTR) return;
    throwSystemError("epoll_wait", epollFd_);
  }
  dispatch(events, n);
}

std::size_t ActivityManager::dispatch(epoll_event const* events, int count) {
  std::size_t ran = 0;
  for (int i = 0; i < count; ++i) {
    int const fd = events[i].data.fd;
    if (fd == timerFd_) {
      timerSetFor_ = std::numeric_limits<double>::quiet_NaN();  // it went off: set it again
      continue;
    }
    // Each handler may remove its own watch, or another's, so every look-up is fresh and the
    // handler is copied before it runs.
    std::uint32_t const ready = events[i].events;
    bool const readable = (ready & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0;
    bool const writable = (ready & (EPOLLOUT | EPOLLERR)) != 0;
    for (bool const forRead : {true, false}) {
      if (forRead ? !readable : !writable) continue;
      auto it = fdWatches_.find(fd);
      if (it == fdWatches_.end()) break;
      auto handler = forRead ? it->second.onReadable : it->second.onWritable;
      if (!handler) continue;
      ++ran;
      try {
        handler();
      } catch (...) {
        report(std::current_exception());
      }
    }
  }
  return ran;
}

std::size_t ActivityManager::pollIo(double seconds) {
  makePoller();
  runPending();
  epoll_event events[16];
  int const timeoutMs = seconds <= 0.0 ? 0 : static_cast<int>(std::ceil(seconds * 1000.0));
  int const n = ::epoll_wait(epollFd_, events, 16, timeoutMs);
  if (n < 0 && errno != EINTR) throwSystemError("epoll_wait", epollFd_);
  std::size_t const ran = n > 0 ? dispatch(events, n) : 0;
  runPending();
  return ran;
}

void ActivityManager::fdReadableIs(int fd, std::function<void()> onReadable) {
  auto const known = fdWatches_.find(fd);
  FdWatch watch = known == fdWatches_.end() ? FdWatch{} : known->second;
  watch.onReadable = std::move(onReadable);
  fdWatchIs(fd, std::move(watch));
}

void ActivityManager::fdWritableIs(int fd, std::function<void()> onWritable) {
  auto const known = fdWatches_.find(fd);
  FdWatch watch = known == fdWatches_.end() ? FdWatch{} : known->second;
  watch.onWritable = std::move(onWritable);
  fdWatchIs(fd, std::move(watch));
}

void ActivityManager::fdWatchIs(int fd, FdWatch watch) {
  auto const known = fdWatches_.find(fd);
  if (!watch.onReadable && !watch.onWritable) {
    if (known == fdWatches_.end()) return;
    fdWatches_.erase(known);
    // A descriptor closed before its watch is removed has already left the poller by itself.
    if (::epoll_ctl(epollFd_, EPOLL_CTL_DEL, fd, nullptr) != 0 && errno != EBADF &&
        errno != ENOENT) {
      throwSystemError("epoll_ctl DEL", fd);
    }
    return;
  }
  makePoller();
  bool const changesEvents = known == fdWatches_.end() ||
                             !known->second.onReadable != !watch.onReadable ||
                             !known->second.onWritable != !watch.onWritable;
  if (changesEvents) watchSet(fd, watch, known != fdWatches_.end());
  fdWatches_[fd] = std::move(watch);
}

double System::monotonicTime() noexcept {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

}  // namespace Zel
