// Interrupts, termination and terminal resizes, delivered from the activity loop instead of at
// an arbitrary point: the signals are blocked and read from a descriptor that the loop watches.
// The previous signal mask comes back when the watch goes.
#pragma once

#include <signal.h>

#include <functional>

#include "platform/zel/ActivityManager.h"

namespace Host {

class SignalWatch {
 public:
  using Handler = std::function<void(int signal)>;

  // Watches SIGINT, SIGTERM, SIGHUP and SIGWINCH.
  SignalWatch(Zel::ActivityManager& loop, Handler handler);
  ~SignalWatch();
  SignalWatch(SignalWatch const&) = delete;
  SignalWatch& operator=(SignalWatch const&) = delete;

 private:
  void readSignals();

  Zel::ActivityManager& loop_;
  Handler handler_;
  sigset_t previousMask_{};
  int fd_ = -1;
};

}  // namespace Host
