#include "host/run/SignalWatch.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Host {

SignalWatch::SignalWatch(Zel::ActivityManager& loop, Handler handler,
                         std::initializer_list<int> watched)
    : loop_(loop), handler_(std::move(handler)) {
  sigset_t signals;
  sigemptyset(&signals);
  for (int signal : watched) sigaddset(&signals, signal);
  if (::sigprocmask(SIG_BLOCK, &signals, &previousMask_) != 0) {
    throw std::system_error(errno, std::generic_category(), "blocking signals");
  }
  fd_ = ::signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
  if (fd_ < 0) {
    int const error = errno;
    ::sigprocmask(SIG_SETMASK, &previousMask_, nullptr);
    throw std::system_error(error, std::generic_category(), "watching signals");
  }
  loop_.fdReadableIs(fd_, [this] { readSignals(); });
}

SignalWatch::~SignalWatch() {
  loop_.fdReadableIs(fd_, nullptr);
  ::close(fd_);
  ::sigprocmask(SIG_SETMASK, &previousMask_, nullptr);
}

void SignalWatch::readSignals() {
  signalfd_siginfo info{};
  while (::read(fd_, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
    if (handler_) handler_(static_cast<int>(info.ssi_signo));
  }
}

}  // namespace Host
