// Where the state database server is and who the agent is to it, parsed from a URL:
//   unix:PATH[?db=N&user=NAME&password-file=FILE]
//   redis://[NAME@]HOST[:PORT][/N][?password-file=FILE]
// A password never appears in the URL itself: URLs end up in process listings and logs, so the
// URL only names the file that holds it.
#pragma once

#include <optional>
#include <string>

namespace Statedb::Redis {

struct Endpoint {
  enum class Kind { unixSocket, tcp };
  Kind kind = Kind::unixSocket;
  std::string path;  // unix socket
  std::string host;  // tcp
  int port = 6379;
  int db = 0;
  std::string user;
  std::string passwordFile;

  bool hasCredentials() const noexcept { return !passwordFile.empty(); }
  // The URL without any credential detail, for log lines.
  std::string describe() const;
};

// The endpoint named by `url`, or nullopt with `error` set to a one-line reason.
std::optional<Endpoint> endpointOf(std::string const& url, std::string& error);

// An empty string when the agent may connect to `endpoint`, or why not: plain TCP to another
// machine without credentials lets anyone on the network light (or darken) the panel.
std::string refusalOf(Endpoint const& endpoint, bool allowInsecure);

// A loopback address written as such (127.0.0.0/8, ::1, ::ffff:127.x.y.z), or "localhost".
bool isLoopback(std::string const& host);

// The password in `path`: its first line, without the line end. Nullopt with `error` set when
// the file cannot be read or is empty; the error never quotes the file's content.
std::optional<std::string> passwordFrom(std::string const& path, std::string& error);

}  // namespace Statedb::Redis
