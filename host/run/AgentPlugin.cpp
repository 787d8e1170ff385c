#include "host/run/AgentPlugin.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

#include "host/run/AgentProfile.h"
#include "platform/warden/AgentAbi.h"

namespace Host {

namespace {

// The loader's message, without the path that it repeats at its start.
std::string lastLoaderError(std::string const& path) {
  char const* raw = ::dlerror();
  std::string text = raw ? raw : "unknown loader error";
  if (text.starts_with(path + ": ")) text.erase(0, path.size() + 2);
  return text;
}

// Gives the usual mistakes a message of their own before the loader gives its terse one.
void checkFile(std::string const& path) {
  if (path.find('/') == std::string::npos) return;  // a bare name is searched for by the loader
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    throw AgentPlugin::Error("agent plug-in " + path + ": " + std::strerror(errno));
  }
  if (S_ISDIR(status.st_mode)) {
    throw AgentPlugin::Error("agent plug-in " + path + " is a directory, not a library");
  }
  if (!S_ISREG(status.st_mode)) {
    throw AgentPlugin::Error("agent plug-in " + path + " is not a regular file");
  }
}

// A plug-in built against another framework shares no layout with this process: nothing in it
// may run, so this is checked before its factory is called.
void checkFrameworkVersion(void* handle, std::string const& path) {
  auto const* abi = static_cast<Warden::AgentAbi const*>(::dlsym(handle, Warden::kAgentAbiSymbol));
  std::string const running = Warden::frameworkVersion();
  if (!abi || abi->descriptorSize < sizeof(Warden::AgentAbi) || !abi->frameworkVersion) {
    throw AgentPlugin::Error("agent plug-in " + path + " does not say which framework it was " +
                             "built against (no symbol '" + Warden::kAgentAbiSymbol +
                             "'); rebuild it against framework " + running);
  }
  if (running != abi->frameworkVersion) {
    throw AgentPlugin::Error("agent plug-in " + path + " was built against framework " +
                             abi->frameworkVersion + ", but warden runs framework " + running +
                             "; rebuild the plug-in against " + running);
  }
}

}  // namespace

void AgentPlugin::Closer::operator()(void* handle) const noexcept {
  if (handle) ::dlclose(handle);
}

AgentPlugin AgentPlugin::open(std::string const& path) {
  if (path.empty()) throw Error("empty agent plug-in path");
  checkFile(path);
  ::dlerror();
  // The agent's type descriptions are registered with the platform when it loads and stay
  // referenced there, so the library must stay mapped even after the handle is closed.
  void* raw = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (!raw) {
    throw Error("cannot load agent plug-in " + path + ": " + lastLoaderError(path));
  }
  std::shared_ptr<void> handle(raw, Closer{});
  ::dlerror();
  void* symbol = ::dlsym(raw, kAgentFactorySymbol);
  if (!symbol) {
    throw Error("agent plug-in " + path + " has no agent factory (no symbol '" +
                kAgentFactorySymbol + "')");
  }
  checkFrameworkVersion(raw, path);
  auto const factory = reinterpret_cast<AgentFactoryFunction>(symbol);
  return AgentPlugin(path, std::move(handle), factory);
}

Zel::Ptr<Warden::CAgent> AgentPlugin::createAgent(std::string const& name) const {
  Warden::CAgent* raw = factory_(name.c_str());
  if (!raw) throw Error("the agent factory of " + path_ + " returned no agent");
  return Zel::Ptr<Warden::CAgent>::adopt(raw);
}

std::string defaultAgentPath(std::string& tried) {
  namespace fs = std::filesystem;
  std::vector<fs::path> candidates;
  std::error_code error;
  fs::path const program = fs::read_symlink("/proc/self/exe", error);
  if (!error) {
    fs::path const prefix = program.parent_path().parent_path();
    candidates.push_back(prefix / "lib" / kAgentLibraryName);
#ifdef WARDEN_INSTALL_LIBDIR
    // An installation moved as a whole (a staging tree, a relocated prefix) keeps its layout.
    candidates.push_back(prefix / WARDEN_INSTALL_LIBDIR / kAgentLibraryName);
#endif
  }
#ifdef WARDEN_INSTALLED_AGENT
  candidates.emplace_back(WARDEN_INSTALLED_AGENT);
#endif
  tried.clear();
  for (fs::path const& candidate : candidates) {
    if (!tried.empty()) tried += ", ";
    tried += candidate.string();
    if (fs::is_regular_file(candidate, error)) return candidate.lexically_normal().string();
  }
  return {};
}

AgentPlugin openAgentPlugin(std::string const& path) {
  if (!path.empty()) return AgentPlugin::open(path);
  std::string tried;
  std::string const found = defaultAgentPath(tried);
  if (found.empty()) {
    throw AgentPlugin::Error("no agent plug-in found (looked for " + tried +
                             "); give one with --agent PATH");
  }
  return AgentPlugin::open(found);
}

}  // namespace Host
