// A `warden serve` or `warden drive` process of a test: started with its standard error in a
// file of the test's folder, waited on with deadlines, and ended by its process id.
#pragma once

#include <string>
#include <vector>

namespace PinlampTest {

class WardenProcess {
 public:
  explicit WardenProcess(std::string logPath) : logPath_(std::move(logPath)) {}
  ~WardenProcess();
  WardenProcess(WardenProcess const&) = delete;
  WardenProcess& operator=(WardenProcess const&) = delete;

  // Runs warden with `arguments` (after the program's name); the log is appended to.
  void start(std::vector<std::string> const& arguments);
  // Sends `signal` and reaps the process; its exit status (128 + signal when killed), or -1
  // when it has not ended within `seconds`.
  int stop(int signal, double seconds = 10.0);
  bool isRunning() const noexcept { return pid_ > 0; }
  int pid() const noexcept { return pid_; }

  std::string log() const;
  // Number of occurrences of `text` in the log.
  std::size_t logCount(std::string const& text) const;
  // Until the log holds `text` `count` times; false at the deadline.
  bool awaitLog(std::string const& text, double seconds, std::size_t count = 1) const;

 private:
  std::string logPath_;
  int pid_ = -1;
};

// Polls `done` every few milliseconds until it holds; false once `seconds` have passed.
template <class Predicate>
bool waitFor(Predicate done, double seconds);

bool waitForCondition(bool (*done)(void*), void* context, double seconds);

template <class Predicate>
bool waitFor(Predicate done, double seconds) {
  return waitForCondition([](void* p) { return (*static_cast<Predicate*>(p))(); }, &done, seconds);
}

}  // namespace PinlampTest
