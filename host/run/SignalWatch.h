// Interrupts, termination and terminal resizes, delivered from the activity loop instead of at
// an arbitrary point: the signals are blocked and read from a descriptor that the loop watches.
// The previous signal mask comes back when the watch goes.
#pragma once

#include <signal.h>

#include <functional>
#include <initializer_list>

#include "platform/zel/ActivityManager.h"

namespace Host {

class SignalWatch {
 public:
  using Handler = std::function<void(int signal)>;

  // Watches `signals`; by default the ones a terminal session receives.
  SignalWatch(Zel::ActivityManager& loop, Handler handler,
              std::initializer_list<int> signals = {SIGINT, SIGTERM, SIGHUP, SIGWINCH});
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
