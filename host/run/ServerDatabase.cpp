#include "host/run/ServerDatabase.h"

namespace Host {

using namespace Statedb::Redis;

namespace {

LinkSettings settingsFor(Session const& session) {
  LinkSettings settings;
  // Virtual time runs ahead of any server's answers: a keep-alive would time out at once.
  if (!session.isLive()) settings.keepalive = settings.timeout = Zel::Clock::kNever;
  return settings;
}

}  // namespace

std::optional<Endpoint> endpointFor(DatabaseOptions const& options, std::string& error) {
  auto endpoint = endpointOf(options.url, error);
  if (!endpoint) return std::nullopt;
  if (!options.passwordFile.empty()) endpoint->passwordFile = options.passwordFile;
  error = refusalOf(*endpoint, options.allowInsecure);
  if (!error.empty()) return std::nullopt;
  return endpoint;
}

std::unique_ptr<ServerDatabase> ServerDatabase::serverDatabaseIs(DatabaseOptions const& options,
                                                                 Session& session, Log log,
                                                                 std::string& error) {
  auto endpoint = endpointFor(options, error);
  if (!endpoint) return nullptr;
  auto backend =
      std::make_unique<Backend>(session.loop(), *endpoint, settingsFor(session), session.mappings(),
                                session.leds(), session.pins(), std::move(log));
  return std::unique_ptr<ServerDatabase>(new ServerDatabase(std::move(backend)));
}

ServerDatabase::ServerDatabase(std::unique_ptr<Backend> backend) : backend_(std::move(backend)) {
  backend_->upHandlerIs([this](bool up) { linkIs(up); });
}

void ServerDatabase::linkIs(bool up) {
  std::string next = up ? "connected" : "lost, reconnecting";
  if (next == state_) return;
  state_ = std::move(next);
  if (onStateChange_) onStateChange_();
}

}  // namespace Host
