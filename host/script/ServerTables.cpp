#include "host/script/ServerTables.h"

#include <iostream>

namespace Host {

using namespace Statedb::Redis;

namespace {

std::string joined(std::vector<std::string> const& names) {
  std::string text;
  for (auto const& name : names) text += (text.empty() ? "" : ",") + name;
  return text;
}

LinkSettings settingsFor(Session const& session) {
  LinkSettings settings;
  // Virtual time runs ahead of any server's answers: a keep-alive would time out at once.
  if (!session.isLive()) settings.keepalive = settings.timeout = Zel::Clock::kNever;
  return settings;
}

}  // namespace

std::unique_ptr<ServerTables> ServerTables::serverTablesIs(DatabaseOptions const& options,
                                                           Session& session, std::string& error) {
  auto endpoint = endpointOf(options.url, error);
  if (!endpoint) return nullptr;
  if (!options.passwordFile.empty()) endpoint->passwordFile = options.passwordFile;
  error = refusalOf(*endpoint, options.allowInsecure);
  if (!error.empty()) return nullptr;
  auto publisher = TablePublisher::publisherIs(*endpoint, error);
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
  auto backend = std::make_unique<Backend>(
      session.loop(), *endpoint, settingsFor(session), session.mappings(), session.leds(),
      session.pins(), [live = session.isLive()](std::string const& line) {
        // A check connects once per script; saying so every time is noise.
        if (live || line.find(" connected to ") == std::string::npos) std::cerr << line << '\n';
      });
  backend->start();
  std::unique_ptr<ServerTables> tables(
      new ServerTables(session, std::move(backend), std::move(publisher)));
  if (!tables->settle()) {
    error = "no answer from " + endpoint->describe();
    return nullptr;
  }
  return tables;
}

ServerTables::ServerTables(Session& session, std::unique_ptr<Backend> backend,
                           std::unique_ptr<TablePublisher> publisher)
    : session_(session), backend_(std::move(backend)), publisher_(std::move(publisher)) {}

void ServerTables::publish(MappingCommand const& command) {
  Hash hash;
  for (std::size_t colour = 0; colour < kColourCount; ++colour) {
    if (command.pins[colour])
      hash.emplace_back(kColourFields[colour], joined(*command.pins[colour]));
  }
  if (command.ready) hash.emplace_back("ready", *command.ready ? "1" : "0");
  if (command.replace && !command.ready) hash.emplace_back("ready", "0");
  publisher_->hashIs(keyOf(kMappingTable, command.led), hash, command.replace);
}

void ServerTables::publish(LedCommand const& command) {
  Led::LightSetting setting;
  setting.yellow = command.lit[static_cast<std::size_t>(Colour::yellow)];
  setting.green = command.lit[static_cast<std::size_t>(Colour::green)];
  setting.red = command.lit[static_cast<std::size_t>(Colour::red)];
  setting.orange = command.lit[static_cast<std::size_t>(Colour::orange)];
  setting.flashInterval = command.flashInterval;
  publisher_->hashIs(keyOf(kLedTable, command.led), hashOf(setting), command.replace);
}

bool ServerTables::withdraw(RemoveCommand const& command) {
  char const* table = command.what == RemoveCommand::What::mapping ? kMappingTable : kLedTable;
  return publisher_->keyDel(keyOf(table, command.led));
}

bool ServerTables::settle() {
  bool done = false;
  backend_->barrier([&done] { done = true; });
  for (int turn = 0; turn < 2000 && !done; ++turn) {
    session_.guarded([this] { session_.loop().pollIo(0.005); });
  }
  return done;
}

}  // namespace Host
