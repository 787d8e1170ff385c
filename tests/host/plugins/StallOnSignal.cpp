// Preloaded into warden by the watchdog test: SIGUSR1 then blocks the process's one thread, the
// activity loop, for STALL_SECONDS, as a handler that sleeps on that thread. The shipped program
// knows nothing of it; a ping that came from anywhere but the loop would go on meanwhile.
#include <signal.h>
#include <time.h>

#include <cerrno>

namespace {

void stall(int) {
  timespec left{STALL_SECONDS, 0};
  while (::nanosleep(&left, &left) == -1 && errno == EINTR) {
  }
}

[[gnu::constructor]] void stallOnSignal() {
  struct sigaction action {};
  action.sa_handler = stall;
  ::sigaction(SIGUSR1, &action, nullptr);
}

}  // namespace
