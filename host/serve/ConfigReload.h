// A service's answer to SIGHUP: its configuration file read again with the command line it was
// started with. The caller applies what a running process can take up at once (the trace levels,
// the lamp test's length); a change to anything else is said to wait for the next restart, and a
// file that no longer reads leaves the running configuration as it is.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/run/Options.h"
#include "host/serve/ServiceLog.h"

namespace Host {

class ConfigReload {
 public:
  // `commandLine` is the service's, starting with its command; `configPath` the file it names,
  // empty for none. The file is read now, to know later what changed in it.
  ConfigReload(std::vector<std::string> commandLine, std::string configPath);

  // The options to apply, logged as `applied` ("trace levels") reloaded; nothing, with the
  // reason logged, without a file or when it no longer reads.
  std::optional<Options> reload(ServiceLog& log, std::string const& applied) const;

 private:
  std::vector<std::string> commandLine_;
  std::string path_;
  std::vector<std::string> restartOnly_;  // as the service started
};

}  // namespace Host
