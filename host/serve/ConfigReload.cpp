#include "host/serve/ConfigReload.h"

#include "host/serve/ServeConfig.h"

namespace Host {

ConfigReload::ConfigReload(std::vector<std::string> commandLine, std::string configPath)
    : commandLine_(std::move(commandLine)), path_(std::move(configPath)) {
  if (hasFile()) restartOnly_ = restartOnlyArguments(readConfig(path_));
}

ConfigReload::Outcome ConfigReload::reload() const {
  Outcome outcome;
  ConfigRead const read = readConfig(path_);
  ParsedOptions const reloaded =
      read.error.empty() ? loadServiceOptions(commandLine_) : ParsedOptions{{}, read.error};
  if (!reloaded.error.empty()) {
    outcome.error = reloaded.error;
    return outcome;
  }
  outcome.options = reloaded.options;
  outcome.restartNeeded = restartOnlyArguments(read) != restartOnly_;
  return outcome;
}

}  // namespace Host
