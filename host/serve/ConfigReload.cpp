#include "host/serve/ConfigReload.h"

#include "host/serve/ServeConfig.h"

namespace Host {

ConfigReload::ConfigReload(std::vector<std::string> commandLine, std::string configPath)
    : commandLine_(std::move(commandLine)), path_(std::move(configPath)) {
  if (!path_.empty()) restartOnly_ = restartOnlyArguments(readConfig(path_));
}

std::optional<Options> ConfigReload::reload(ServiceLog& log, std::string const& applied) const {
  if (path_.empty()) {
    log.warning("SIGHUP: no configuration file to reload (started without --config)");
    return std::nullopt;
  }
  ConfigRead const read = readConfig(path_);
  ParsedOptions const reloaded =
      read.error.empty() ? loadServiceOptions(commandLine_) : ParsedOptions{{}, read.error};
  if (!reloaded.error.empty()) {
    log.error("SIGHUP: " + reloaded.error + "; the running configuration stays");
    return std::nullopt;
  }
  log.info("SIGHUP: " + applied + " reloaded from " + path_);
  if (restartOnlyArguments(read) != restartOnly_) {
    log.warning("SIGHUP: options other than trace and lamp-test-seconds changed in " + path_ +
                "; they take effect at the next restart");
  }
  return reloaded.options;
}

}  // namespace Host
