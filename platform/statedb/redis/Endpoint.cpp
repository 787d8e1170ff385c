#include "platform/statedb/redis/Endpoint.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <charconv>
#include <fstream>
#include <string_view>

namespace Statedb::Redis {

namespace {

bool numberOf(std::string_view text, int low, int high, int& out) {
  int value = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size() || value < low || value > high) {
    return false;
  }
  out = value;
  return true;
}

// Applies one `name=value` query parameter; false with `error` set for an unknown or bad one.
bool parameterIs(Endpoint& endpoint, std::string_view parameter, std::string& error) {
  std::size_t const equals = parameter.find('=');
  std::string_view const name = parameter.substr(0, equals);
  std::string_view const value =
      equals == std::string_view::npos ? std::string_view() : parameter.substr(equals + 1);
  if (name == "db") {
    if (numberOf(value, 0, 15, endpoint.db)) return true;
    error = "database number \"" + std::string(value) + "\" is not in 0..15";
  } else if (name == "user" && !value.empty()) {
    endpoint.user = value;
    return true;
  } else if (name == "password-file" && !value.empty()) {
    endpoint.passwordFile = value;
    return true;
  } else if (name == "password") {
    error = "a password is not accepted in the URL; name a file with password-file=";
  } else {
    error = "unknown URL parameter \"" + std::string(parameter) + "\"";
  }
  return false;
}

bool queryIs(Endpoint& endpoint, std::string_view query, std::string& error) {
  while (!query.empty()) {
    std::size_t const amp = query.find('&');
    if (!parameterIs(endpoint, query.substr(0, amp), error)) return false;
    if (amp == std::string_view::npos) break;
    query.remove_prefix(amp + 1);
  }
  return true;
}

bool tcpIs(Endpoint& endpoint, std::string_view rest, std::string& error) {
  std::size_t const at = rest.find('@');
  if (at != std::string_view::npos) {
    std::string_view const user = rest.substr(0, at);
    if (user.find(':') != std::string_view::npos) {
      error = "a password is not accepted in the URL; name a file with password-file=";
      return false;
    }
    endpoint.user = user;
    rest.remove_prefix(at + 1);
  }
  std::size_t const slash = rest.find('/');
  std::string_view hostPort = rest.substr(0, slash);
  if (slash != std::string_view::npos) {
    std::string_view const db = rest.substr(slash + 1);
    if (!db.empty() && !numberOf(db, 0, 15, endpoint.db)) {
      error = "database number \"" + std::string(db) + "\" is not in 0..15";
      return false;
    }
  }
  // A bracketed IPv6 address keeps its colons: only one after the closing bracket is a port.
  std::size_t const bracket = hostPort.rfind(']');
  std::size_t const colon = hostPort.rfind(':');
  bool const hasPort =
      colon != std::string_view::npos &&
      (bracket == std::string_view::npos ? hostPort.find(':') == colon : colon > bracket);
  if (hasPort) {
    if (!numberOf(hostPort.substr(colon + 1), 1, 65535, endpoint.port)) {
      error = "port \"" + std::string(hostPort.substr(colon + 1)) + "\" is not in 1..65535";
      return false;
    }
    hostPort = hostPort.substr(0, colon);
  }
  if (hostPort.size() >= 2 && hostPort.front() == '[' && hostPort.back() == ']') {
    hostPort = hostPort.substr(1, hostPort.size() - 2);
  }
  if (hostPort.empty()) {
    error = "no host in the URL";
    return false;
  }
  endpoint.host = hostPort;
  return true;
}

}  // namespace

std::string Endpoint::describe() const {
  std::string text =
      kind == Kind::unixSocket ? "unix:" + path : "redis://" + host + ":" + std::to_string(port);
  if (db != 0) text += (kind == Kind::unixSocket ? "?db=" : "/") + std::to_string(db);
  return text;
}

std::optional<Endpoint> endpointOf(std::string const& url, std::string& error) {
  Endpoint endpoint;
  std::string_view text = url;
  std::size_t const question = text.find('?');
  std::string_view const query =
      question == std::string_view::npos ? std::string_view() : text.substr(question + 1);
  text = text.substr(0, question);
  bool ok = false;
  if (text.starts_with("unix:")) {
    endpoint.kind = Endpoint::Kind::unixSocket;
    text.remove_prefix(5);
    if (text.starts_with("//")) text.remove_prefix(2);
    endpoint.path = text;
    ok = !endpoint.path.empty();
    if (!ok) error = "no socket path in the URL";
  } else if (text.starts_with("redis://")) {
    endpoint.kind = Endpoint::Kind::tcp;
    ok = tcpIs(endpoint, text.substr(8), error);
  } else {
    error = "the URL must start with unix: or redis://";
  }
  if (!ok || !queryIs(endpoint, query, error)) return std::nullopt;
  if (!endpoint.user.empty() && endpoint.passwordFile.empty()) {
    error = "user \"" + endpoint.user + "\" has no password-file";
    return std::nullopt;
  }
  return endpoint;
}

bool isLoopback(std::string const& host) {
  // Decided on the address, never on how the name begins: "127.0.0.1.example.net" is a name
  // that any resolver may send elsewhere.
  if (host == "localhost" || host == "localhost.") return true;
  in_addr v4{};
  if (::inet_pton(AF_INET, host.c_str(), &v4) == 1) return (ntohl(v4.s_addr) >> 24) == 127;
  in6_addr v6{};
  if (::inet_pton(AF_INET6, host.c_str(), &v6) != 1) return false;
  if (IN6_IS_ADDR_LOOPBACK(&v6)) return true;
  // An IPv4 loopback address written as IPv6 (::ffff:127.0.0.1).
  return IN6_IS_ADDR_V4MAPPED(&v6) && v6.s6_addr[12] == 127;
}

std::string refusalOf(Endpoint const& endpoint, bool allowInsecure) {
  if (endpoint.kind == Endpoint::Kind::unixSocket || isLoopback(endpoint.host)) return {};
  if (endpoint.hasCredentials() || allowInsecure) return {};
  return "refusing " + endpoint.describe() +
         ": a database on another machine needs credentials (user and password-file), or "
         "--db-allow-insecure";
}

std::optional<std::string> passwordFrom(std::string const& path, std::string& error) {
  std::ifstream in(path);
  std::string line;
  if (!in || !std::getline(in, line)) {
    error = "cannot read the password file " + path;
    return std::nullopt;
  }
  if (!line.empty() && line.back() == '\r') line.pop_back();
  if (line.empty()) {
    error = "the password file " + path + " is empty";
    return std::nullopt;
  }
  return line;
}

}  // namespace Statedb::Redis
