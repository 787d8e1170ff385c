// Every content a values file has had, seen from a thread of the test's own that reads the file
// at each change the kernel reports (inotify on its folder: written in place, or replaced by a
// rename), so that a value written and overwritten a moment later is seen too.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace PinlampTest {

class ValuesWatch {
 public:
  ValuesWatch(std::string folder, std::vector<std::string> files);
  ~ValuesWatch();
  ValuesWatch(ValuesWatch const&) = delete;
  ValuesWatch& operator=(ValuesWatch const&) = delete;

  // Each distinct content of `file` in order, consecutive repeats collapsed.
  std::vector<std::string> history(std::string const& file) const;
  // The contents of any watched file that hold `line` (such as "g 0").
  std::vector<std::string> contentsWith(std::string const& line) const;

 private:
  void run();
  void readAll();

  std::string folder_;
  std::vector<std::string> files_;
  int inotify_ = -1;
  int stopPipe_[2] = {-1, -1};
  mutable std::mutex mutex_;
  std::vector<std::vector<std::string>> histories_;
  std::thread thread_;
};

}  // namespace PinlampTest
