#include "HttpClient.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

namespace Http::Testing {

HttpClient::HttpClient(Zel::ActivityManager& loop, std::string const& address) : loop_(loop) {
  sockaddr_un un{};
  un.sun_family = AF_UNIX;
  std::string const path = address.substr(address.find(':') + 1);
  if (!address.starts_with("unix:") || path.size() >= sizeof un.sun_path)
    throw std::runtime_error("not a unix socket address: " + address);
  std::memcpy(un.sun_path, path.data(), path.size());
  fd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
  if (fd_ < 0) throw std::runtime_error("no socket");
  ::connect(fd_, reinterpret_cast<sockaddr*>(&un), sizeof un);
}

HttpClient::~HttpClient() {
  ::close(fd_);
  loop_.runFor(0.002);  // the server sees the close
}

void HttpClient::send(std::string const& bytes) {
  std::size_t sent = 0;
  double const deadline = loop_.currentTime() + 2;
  while (sent < bytes.size() && loop_.currentTime() < deadline) {
    ssize_t const n = ::send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (n > 0) {
      sent += static_cast<std::size_t>(n);
    } else if (n < 0 && errno != EAGAIN && errno != ENOTCONN && errno != EINPROGRESS) {
      return;  // the server closed: what was sent is what it got
    } else {
      loop_.runFor(0.001);
    }
  }
}

void HttpClient::readAvailable() {
  char buffer[65536];
  for (;;) {
    ssize_t const n = ::recv(fd_, buffer, sizeof buffer, 0);
    if (n > 0) {
      received_.append(buffer, static_cast<std::size_t>(n));
    } else {
      if (n == 0 || (errno != EAGAIN && errno != ENOTCONN)) closed_ = true;
      return;
    }
  }
}

std::string const& HttpClient::receiveUntil(double seconds,
                                            std::function<bool(std::string const&)> const& done) {
  double const deadline = loop_.currentTime() + seconds;
  while (!closed_ && !(done && done(received_)) && loop_.currentTime() < deadline) {
    loop_.runFor(0.001);
    readAvailable();
  }
  return received_;
}

bool HttpClient::waitFor(std::string const& text, double seconds) {
  auto const holds = [&text](std::string const& received) {
    return received.find(text) != std::string::npos;
  };
  return holds(receiveUntil(seconds, holds));
}

Response get(Zel::ActivityManager& loop, std::string const& address, std::string const& path) {
  HttpClient client(loop, address);
  client.send("GET " + path + " HTTP/1.1\r\nHost: test\r\nConnection: close\r\n\r\n");
  std::string const& text = client.receiveUntil(5);
  Response response;
  std::size_t const headersEnd = text.find("\r\n\r\n");
  if (text.size() < 12 || headersEnd == std::string::npos) return response;
  response.status = std::stoi(text.substr(9, 3));
  response.headers = text.substr(0, headersEnd);
  response.body = text.substr(headersEnd + 4);
  return response;
}

}  // namespace Http::Testing
