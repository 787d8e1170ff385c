// A session's inputs and pins on a database server rather than in memory: the agent's input
// directories follow the server's tables, its pins go to the pin table, and script commands are
// written to the server by a separate connection, as another agent publishes. Each write is
// followed by a barrier: the command is complete once its change has come back through the
// server, the agent has acted on it, and the pins are in the pin table.
#pragma once

#include <memory>
#include <string>

#include "host/run/Options.h"
#include "host/run/ServerDatabase.h"
#include "host/run/Session.h"
#include "host/script/Command.h"
#include "platform/redis/TablePublisher.h"

namespace Host {

class ServerTables {
 public:
  // Connects (and, in virtual time, empties the input tables); null with `error` set when the
  // server cannot be used.
  static std::unique_ptr<ServerTables> serverTablesIs(DatabaseOptions const& options,
                                                      Session& session, std::string& error);

  void publish(MappingCommand const& command);
  void publish(LedCommand const& command);
  // True when there was something to remove.
  bool withdraw(RemoveCommand const& command);
  // Waits (bounded) for the round trip of everything written so far; false when it did not close.
  bool settle();

 private:
  ServerTables(Session& session, std::unique_ptr<ServerDatabase> database,
               std::unique_ptr<Statedb::Redis::TablePublisher> publisher);

  Session& session_;
  std::unique_ptr<ServerDatabase> database_;
  std::unique_ptr<Statedb::Redis::TablePublisher> publisher_;
};

}  // namespace Host
