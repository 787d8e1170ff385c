// An agent plug-in opened with dlopen: the library handle (closed when the last copy goes) and the
// agent factory found in it by its C name. Every failure is an AgentPlugin::Error whose text says
// which file and what is wrong with it.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "platform/warden/CAgent.h"
#include "platform/zel/Ptr.h"

namespace Host {

// The C entry point every agent plug-in exports: a new agent with one reference that the caller
// owns.
inline constexpr char kAgentFactorySymbol[] = "wardenAgentFactory";
using AgentFactoryFunction = Warden::CAgent* (*)(char const* name);

class AgentPlugin {
 public:
  class Error : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  static AgentPlugin open(std::string const& path);

  std::string const& path() const noexcept { return path_; }
  // A new agent named `name`.
  Zel::Ptr<Warden::CAgent> createAgent(std::string const& name) const;

 private:
  struct Closer {
    void operator()(void* handle) const noexcept;
  };

  AgentPlugin(std::string path, std::shared_ptr<void> handle, AgentFactoryFunction factory)
      : path_(std::move(path)), handle_(std::move(handle)), factory_(factory) {}

  std::string path_;
  std::shared_ptr<void> handle_;
  AgentFactoryFunction factory_;
};

// Where warden looks for the agent when no --agent is given: the library built or installed with
// it, in ../lib (or the configured library directory) next to the program, else the
// installation's library directory. Empty when none of them exists; `tried` receives every
// place looked at.
std::string defaultAgentPath(std::string& tried);

// Opens the plug-in at `path`, or the default one when `path` is empty.
AgentPlugin openAgentPlugin(std::string const& path);

}  // namespace Host
