// Where the read-only HTTP endpoint listens: `unix:PATH`, or `HOST:PORT` with an IP literal or
// `localhost` (`[::1]:PORT` for IPv6). Only loopback and unix sockets unless remote listening is
// allowed, since the panel shows the appliance's state to whoever can connect.
#pragma once

#include <stdexcept>
#include <string>

namespace Http {

struct ListenAddress {
  bool isUnix = false;
  std::string path;  // unix
  std::string host;  // tcp
  std::string port;  // tcp
  std::string text;  // as given, for messages
};

class ListenError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws ListenError naming what is wrong with `text`.
ListenAddress parseListenAddress(std::string const& text);

// What is wrong with `text` as an address to listen on, before anything listens: a mistake in
// the configuration, which a supervisor should not retry. Empty when it is fine (or empty).
std::string listenAddressError(std::string const& text, bool allowRemote);

// A bound, listening, non-blocking socket; throws ListenError (a remote address without
// `allowRemote`, an address in use, a unix path that is not a socket).
int listenOn(ListenAddress const& address, bool allowRemote);

}  // namespace Http
