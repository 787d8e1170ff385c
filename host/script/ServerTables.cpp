#include "host/script/ServerTables.h"

#include <iostream>

#include "host/script/Publisher.h"

namespace Host {

using namespace Statedb::Redis;

namespace {

std::string joined(std::vector<std::string> const& names) {
  std::string text;
  for (auto const& name : names) text += (text.empty() ? "" : ",") + name;
  return text;
}

}  // namespace

std::unique_ptr<ServerTables> ServerTables::serverTablesIs(DatabaseOptions const& options,
                                                           Session& session, std::string& error) {
  auto database = ServerDatabase::serverDatabaseIs(
      options, session,
      [live = session.isLive()](LogRecord const& record) {
        // A check connects once per script: routine progress every time is noise.
        if (live || record.severity != Severity::info) std::cerr << record.text << '\n';
      },
      error);
  if (!database) return nullptr;
  auto publisher = TablePublisher::publisherIs(database->endpoint(), error);
  if (!publisher) return nullptr;
  try {
    // A check starts each script from nothing; a live run follows what is published already.
    if (!session.isLive()) {
      publisher->tableClear(kLedTable);
      publisher->tableClear(kMappingTable);
    }
  } catch (std::exception const& e) {
    error = e.what();
    return nullptr;
  }
  database->start();
  std::unique_ptr<ServerTables> tables(
      new ServerTables(session, std::move(database), std::move(publisher)));
  if (!tables->settle()) {
    error = "no answer from " + tables->database_->endpoint().describe();
    return nullptr;
  }
  return tables;
}

ServerTables::ServerTables(Session& session, std::unique_ptr<ServerDatabase> database,
                           std::unique_ptr<TablePublisher> publisher)
    : session_(session), database_(std::move(database)), publisher_(std::move(publisher)) {}

void ServerTables::publish(MappingCommand const& command) {
  Hash hash;
  for (std::size_t colour = 0; colour < kColourCount; ++colour) {
    if (command.pins[colour])
      hash.emplace_back(Hardware::Gpio::kColourTable[colour].name, joined(*command.pins[colour]));
  }
  if (command.ready) hash.emplace_back("ready", *command.ready ? "1" : "0");
  if (command.replace && !command.ready) hash.emplace_back("ready", "0");
  std::string const key = keyOf(kMappingTable, command.led);
  if (hash.empty()) {
    // `set mapping LED` alone publishes an empty mapping when there is none and leaves a
    // published one as it is; a hash with no field does not exist, so the field that says "not
    // ready" is written only where the hash has none.
    publisher_->command({"HSETNX", key, "ready", "0"});
    return;
  }
  publisher_->hashIs(key, hash, command.replace);
}

void ServerTables::publish(LedCommand const& command) {
  publisher_->hashIs(keyOf(kLedTable, command.led), hashOf(settingOf(command)), command.replace);
}

bool ServerTables::withdraw(RemoveCommand const& command) {
  char const* table = command.what == RemoveCommand::What::mapping ? kMappingTable : kLedTable;
  return publisher_->keyDel(keyOf(table, command.led));
}

bool ServerTables::settle() {
  bool done = false;
  database_->whenSynced([&done] { done = true; });
  for (int turn = 0; turn < 2000 && !done; ++turn) {
    session_.guarded([this] { session_.loop().pollIo(0.005); });
  }
  return done;
}

}  // namespace Host
