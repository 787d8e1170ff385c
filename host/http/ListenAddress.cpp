#include "host/http/ListenAddress.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace Http {

namespace {

constexpr int kBacklog = 64;

std::string systemError(std::string const& what) {
  return what + ": " + std::strerror(errno);
}

bool isLoopback(sockaddr const* address) {
  if (address->sa_family == AF_INET) {
    auto const* in = reinterpret_cast<sockaddr_in const*>(address);
    return (ntohl(in->sin_addr.s_addr) >> 24) == 127;
  }
  if (address->sa_family == AF_INET6) {
    auto const* in6 = reinterpret_cast<sockaddr_in6 const*>(address);
    return IN6_IS_ADDR_LOOPBACK(&in6->sin6_addr) != 0;
  }
  return false;
}

// A closed socket unless released: every failure path below closes what it opened.
struct Socket {
  int fd = -1;
  ~Socket() {
    if (fd >= 0) ::close(fd);
  }
  int release() { return std::exchange(fd, -1); }
};

int listenUnix(ListenAddress const& address) {
  sockaddr_un un{};
  un.sun_family = AF_UNIX;
  if (address.path.size() >= sizeof un.sun_path) {
    throw ListenError("--http " + address.text + ": the socket path is too long");
  }
  std::memcpy(un.sun_path, address.path.data(), address.path.size());
  // A socket left by a warden that did not stop cleanly is replaced; any other file is not.
  struct stat status {};
  if (::lstat(address.path.c_str(), &status) == 0) {
    if (!S_ISSOCK(status.st_mode)) {
      throw ListenError("--http " + address.text + ": exists and is not a socket");
    }
    ::unlink(address.path.c_str());
  }
  Socket socket{::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)};
  if (socket.fd < 0) throw ListenError(systemError("--http " + address.text));
  if (::bind(socket.fd, reinterpret_cast<sockaddr const*>(&un), sizeof un) != 0 ||
      ::listen(socket.fd, kBacklog) != 0) {
    throw ListenError(systemError("--http " + address.text));
  }
  return socket.release();
}

using AddressList = std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)>;

AddressList resolve(ListenAddress const& address, bool allowRemote) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV | AI_PASSIVE;
  // Names other than localhost would need a resolver at start-up and could change meaning later.
  if (address.host != "localhost") hints.ai_flags |= AI_NUMERICHOST;
  addrinfo* found = nullptr;
  int const resolved = ::getaddrinfo(address.host.c_str(), address.port.c_str(), &hints, &found);
  if (resolved != 0) {
    throw ListenError("--http " + address.text + ": " + ::gai_strerror(resolved) +
                      " (an IP address or localhost)");
  }
  AddressList list(found, ::freeaddrinfo);
  if (!allowRemote && !isLoopback(found->ai_addr)) {
    throw ListenError("--http " + address.text +
                      ": not a loopback address (--http-allow-remote listens there)");
  }
  return list;
}

int listenTcp(ListenAddress const& address, bool allowRemote) {
  AddressList const list = resolve(address, allowRemote);
  addrinfo const* found = list.get();
  Socket socket{::socket(found->ai_family, found->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)};
  if (socket.fd < 0) throw ListenError(systemError("--http " + address.text));
  int const on = 1;
  ::setsockopt(socket.fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (::bind(socket.fd, found->ai_addr, found->ai_addrlen) != 0 ||
      ::listen(socket.fd, kBacklog) != 0) {
    throw ListenError(systemError("--http " + address.text));
  }
  return socket.release();
}

}  // namespace

ListenAddress parseListenAddress(std::string const& text) {
  ListenAddress address;
  address.text = text;
  if (text.starts_with("unix:")) {
    address.isUnix = true;
    address.path = text.substr(5);
    if (address.path.empty()) throw ListenError("--http " + text + ": needs a socket path");
    return address;
  }
  std::size_t const colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0 || colon + 1 == text.size()) {
    throw ListenError("--http " + text + ": needs unix:PATH or HOST:PORT");
  }
  address.host = text.substr(0, colon);
  address.port = text.substr(colon + 1);
  if (address.host.size() > 2 && address.host.front() == '[' && address.host.back() == ']') {
    address.host = address.host.substr(1, address.host.size() - 2);
  }
  if (address.port.find_first_not_of("0123456789") != std::string::npos ||
      address.port.size() > 5 || std::stoi(address.port) > 65535) {
    throw ListenError("--http " + text + ": the port must be a number up to 65535");
  }
  return address;
}

std::string listenAddressError(std::string const& text, bool allowRemote) {
  if (text.empty()) return {};
  try {
    ListenAddress const address = parseListenAddress(text);
    if (!address.isUnix) resolve(address, allowRemote);
  } catch (ListenError const& error) {
    return error.what();
  }
  return {};
}

int listenOn(ListenAddress const& address, bool allowRemote) {
  return address.isUnix ? listenUnix(address) : listenTcp(address, allowRemote);
}

}  // namespace Http
