#include "host/script/ScriptFile.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace Host {

std::optional<Script> loadScript(std::string const& path, std::string& error) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    error = path + ": cannot read: " + std::strerror(errno);
    return std::nullopt;
  }
  if (S_ISDIR(status.st_mode)) {
    error = path + ": is a directory, not a script";
    return std::nullopt;
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = path + ": cannot read: " + std::strerror(errno);
    return std::nullopt;
  }
  return parseScript(path, in);
}

std::vector<std::string> errorLines(Script const& script, std::size_t limit) {
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < script.errors.size() && i < limit; ++i) {
    lines.push_back(script.errors[i].text());
  }
  if (script.errors.size() > limit) {
    lines.push_back("... and " + std::to_string(script.errors.size() - limit) +
                    " more malformed lines");
  }
  return lines;
}

}  // namespace Host
