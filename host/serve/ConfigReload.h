// A service's answer to SIGHUP: its configuration file read again with the command line it was
// started with. The caller applies what a running process can take up at once (the trace levels,
// the lamp test's length); a change to anything else is said to wait for the next restart, and a
// file that no longer reads leaves the running configuration as it is.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/run/Options.h"

namespace Host {

class ConfigReload {
 public:
  struct Outcome {
    std::optional<Options> options;  // none when the file no longer reads; `error` says why
    std::string error;               // "FILE:LINE: what is wrong"
    bool restartNeeded = false;      // options a restart is needed for changed in the file
  };

  // `commandLine` is the service's, starting with its command; `configPath` the file it names,
  // empty for none. The file is read now, to know later what changed in it.
  ConfigReload(std::vector<std::string> commandLine, std::string configPath);

  bool hasFile() const noexcept { return !path_.empty(); }
  std::string const& path() const noexcept { return path_; }
  Outcome reload() const;

 private:
  std::vector<std::string> commandLine_;
  std::string path_;
  std::vector<std::string> restartOnly_;  // as the service started
};

}  // namespace Host
