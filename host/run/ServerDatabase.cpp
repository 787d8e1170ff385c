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

ServerAddress addressOf(DatabaseOptions const& options) {
  return {options.url, options.passwordFile, options.allowInsecure};
}

}  // namespace

std::optional<Endpoint> endpointFor(DatabaseOptions const& options, std::string& error) {
  return Statedb::Redis::endpointFor(addressOf(options), error);
}

std::unique_ptr<ServerDatabase> ServerDatabase::serverDatabaseIs(DatabaseOptions const& options,
                                                                 Session& session, Log log,
                                                                 std::string& error) {
  auto backend =
      Backend::backendIs(session.loop(), {addressOf(options), settingsFor(session)},
                         session.mappings(), session.leds(), session.pins(), std::move(log), error);
  if (!backend) return nullptr;
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
