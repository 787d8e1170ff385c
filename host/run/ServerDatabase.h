// A session's inputs and pins on a database server: the agent's input directories follow the
// server's LED and mapping tables, and its pins go to the pin table. Shared by every mode that
// takes --db, so that a script run, a live run and the service follow the server alike.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/run/Options.h"
#include "host/run/Session.h"
#include "platform/redis/Backend.h"

namespace Host {

// The server that `options` name, with the password file and the refusal of insecure TCP
// applied; nothing when refused, with `error` set.
std::optional<Statedb::Redis::Endpoint> endpointFor(DatabaseOptions const& options,
                                                    std::string& error);

class ServerDatabase {
 public:
  using Log = Statedb::Redis::Log;

  // Resolves and checks the URL (password file, insecure TCP) and makes the backend on the
  // session's loop; nothing is connected until start(). Null with `error` set when refused.
  static std::unique_ptr<ServerDatabase> serverDatabaseIs(DatabaseOptions const& options,
                                                          Session& session, Log log,
                                                          std::string& error);

  void start() { backend_->start(); }
  // Calls `done` once everything the server held when called has reached the agent and the
  // pins the agent wrote in reaction are in the pin table: after start(), the first resync.
  void whenSynced(std::function<void()> done) { backend_->barrier(std::move(done)); }

  // "connecting", "connected" or "lost, reconnecting"; `onChange` hears each change.
  std::string const& state() const noexcept { return state_; }
  void stateHandlerIs(std::function<void()> onChange) { onStateChange_ = std::move(onChange); }

  Statedb::Redis::Endpoint const& endpoint() const noexcept { return backend_->link().endpoint(); }
  Statedb::Redis::Backend& backend() noexcept { return *backend_; }

 private:
  explicit ServerDatabase(std::unique_ptr<Statedb::Redis::Backend> backend);
  void linkIs(bool up);

  std::unique_ptr<Statedb::Redis::Backend> backend_;
  std::string state_ = "connecting";
  std::function<void()> onStateChange_;
};

}  // namespace Host
