#include "tests/redis/RedisServer.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <thread>

namespace PinlampTest {

namespace {

bool accepts(std::string const& path) {
  int const fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  bool const ok = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  ::close(fd);
  return ok;
}

}  // namespace

RedisServer::RedisServer(std::vector<std::string> extra) : extra_(std::move(extra)) {
  std::string pattern = (std::filesystem::temp_directory_path() / "pinlamp-redis-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary folder");
  folder_ = pattern;
  socket_ = folder_ + "/redis.sock";
  start();
}

RedisServer::~RedisServer() {
  stop(SIGTERM);
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void RedisServer::start() {
  std::vector<std::string> args = {"redis-server",
                                   "--port",
                                   "0",
                                   "--save",
                                   "",
                                   "--appendonly",
                                   "no",
                                   "--unixsocket",
                                   socket_,
                                   "--unixsocketperm",
                                   "700",
                                   "--dir",
                                   folder_,
                                   "--logfile",
                                   folder_ + "/server.log"};
  args.insert(args.end(), extra_.begin(), extra_.end());
  std::vector<char*> argv;
  for (auto& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  pid_t const parent = ::getpid();
  pid_ = ::fork();
  if (pid_ < 0) throw std::runtime_error("cannot fork");
  if (pid_ == 0) {
    // A test or benchmark that aborts never reaches the destructor that stops the server: the
    // server ends with it rather than stay behind holding its folder.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(127);
    // Not the test's output: a server outliving a crashed test must not hold its pipes open.
    int const null = ::open("/dev/null", O_RDWR);
    ::dup2(null, STDIN_FILENO);
    ::dup2(null, STDOUT_FILENO);
    ::dup2(null, STDERR_FILENO);
    ::execvp("redis-server", argv.data());
    ::_exit(127);
  }
  // A bounded wait for the server to listen; not a timing assertion.
  for (int attempt = 0; attempt < 500; ++attempt) {
    if (accepts(socket_)) return;
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) == pid_) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  stop(SIGKILL);
  throw std::runtime_error("redis-server did not come up; see " + folder_ + "/server.log");
}

void RedisServer::stop(int signal) {
  if (pid_ <= 0) return;
  ::kill(pid_, signal);
  ::kill(pid_, SIGCONT);  // a stopped server takes no signal but the one that ends it
  int status = 0;
  ::waitpid(pid_, &status, 0);
  pid_ = -1;
  ::unlink(socket_.c_str());
}

}  // namespace PinlampTest
