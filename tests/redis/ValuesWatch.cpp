#include "tests/redis/ValuesWatch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace PinlampTest {

ValuesWatch::ValuesWatch(std::string folder, std::vector<std::string> files)
    : folder_(std::move(folder)), files_(std::move(files)), histories_(files_.size()) {
  inotify_ = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
  if (inotify_ < 0 || ::pipe(stopPipe_) != 0) throw std::runtime_error("cannot watch files");
  if (::inotify_add_watch(inotify_, folder_.c_str(),
                          IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE) < 0) {
    throw std::runtime_error("cannot watch " + folder_);
  }
  readAll();
  thread_ = std::thread([this] { run(); });
}

ValuesWatch::~ValuesWatch() {
  char const stop = 0;
  (void)!::write(stopPipe_[1], &stop, 1);
  thread_.join();
  ::close(inotify_);
  ::close(stopPipe_[0]);
  ::close(stopPipe_[1]);
}

void ValuesWatch::run() {
  for (;;) {
    pollfd fds[2] = {{inotify_, POLLIN, 0}, {stopPipe_[0], POLLIN, 0}};
    if (::poll(fds, 2, -1) < 0) continue;
    if (fds[1].revents) break;
    char buffer[4096];
    while (::read(inotify_, buffer, sizeof buffer) > 0) {
    }
    readAll();
  }
  readAll();
}

void ValuesWatch::readAll() {
  for (std::size_t i = 0; i < files_.size(); ++i) {
    std::ifstream in(folder_ + "/" + files_[i]);
    if (!in) continue;
    std::ostringstream text;
    text << in.rdbuf();
    std::lock_guard<std::mutex> lock(mutex_);
    auto& history = histories_[i];
    if (history.empty() || history.back() != text.str()) history.push_back(text.str());
  }
}

std::vector<std::string> ValuesWatch::history(std::string const& file) const {
  std::lock_guard<std::mutex> lock(mutex_);
  for (std::size_t i = 0; i < files_.size(); ++i) {
    if (files_[i] == file) return histories_[i];
  }
  return {};
}

std::vector<std::string> ValuesWatch::contentsWith(std::string const& line) const {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::string> found;
  for (auto const& history : histories_) {
    for (auto const& content : history) {
      if (content.starts_with(line + "\n") ||
          content.find("\n" + line + "\n") != std::string::npos) {
        found.push_back(content);
      }
    }
  }
  return found;
}

}  // namespace PinlampTest
