#include "tests/redis/WardenProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace PinlampTest {

bool waitForCondition(bool (*done)(void*), void* context, double seconds) {
  auto const deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (std::chrono::steady_clock::now() < deadline) {
    if (done(context)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));  // pacing only; not the condition
  }
  return done(context);
}

WardenProcess::~WardenProcess() {
  stop(SIGKILL);
}

void WardenProcess::start(std::vector<std::string> const& arguments) {
  if (pid_ > 0) throw std::logic_error("warden is running already");
  std::vector<std::string> args{WARDEN_PROGRAM};
  args.insert(args.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (auto& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  // Not a service manager's child: no notification socket, watchdog or journal. Prepared here,
  // since the test may run threads of its own and the child may only call what is safe then.
  std::vector<char*> env;
  for (char** entry = environ; *entry; ++entry) {
    std::string_view const text(*entry);
    if (text.starts_with("NOTIFY_SOCKET=") || text.starts_with("WATCHDOG_USEC=") ||
        text.starts_with("WATCHDOG_PID=") || text.starts_with("JOURNAL_STREAM=")) {
      continue;
    }
    env.push_back(*entry);
  }
  env.push_back(nullptr);
  pid_ = ::fork();
  if (pid_ < 0) throw std::runtime_error("cannot fork");
  if (pid_ == 0) {
    int const log = ::open(logPath_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    int const null = ::open("/dev/null", O_RDWR);
    if (log < 0 || null < 0) ::_exit(127);
    ::dup2(null, STDIN_FILENO);
    ::dup2(log, STDOUT_FILENO);
    ::dup2(log, STDERR_FILENO);
    ::execve(WARDEN_PROGRAM, argv.data(), env.data());
    ::_exit(127);
  }
}

int WardenProcess::stop(int signal, double seconds) {
  if (pid_ <= 0) return -1;
  ::kill(pid_, signal);
  int status = 0;
  int const pid = pid_;
  bool const ended = waitFor([&] { return ::waitpid(pid, &status, WNOHANG) == pid; }, seconds);
  if (!ended) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return -1;
  }
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string WardenProcess::log() const {
  std::ifstream in(logPath_);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::size_t WardenProcess::logCount(std::string const& text) const {
  std::string const all = log();
  std::size_t count = 0;
  for (auto at = all.find(text); at != std::string::npos; at = all.find(text, at + 1)) ++count;
  return count;
}

bool WardenProcess::awaitLog(std::string const& text, double seconds, std::size_t count) const {
  return waitFor([&] { return logCount(text) >= count; }, seconds);
}

}  // namespace PinlampTest
