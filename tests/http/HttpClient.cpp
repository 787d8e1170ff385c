#include "HttpClient.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

namespace Http::Testing {

HttpClient::HttpClient(Zel::ActivityManager& loop, std::string const& address) : loop_(loop) {
  if (address.starts_with("unix:")) {
    sockaddr_un un{};
    un.sun_family = AF_UNIX;
    std::string const path = address.substr(5);
    std::memcpy(un.sun_path, path.data(), path.size());
    fd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
    ::connect(fd_, reinterpret_cast<sockaddr*>(&un), sizeof un);
  } else {
    sockaddr_in in{};
    in.sin_family = AF_INET;
    in.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    in.sin_port =
        htons(static_cast<std::uint16_t>(std::stoi(address.substr(address.rfind(':') + 1))));
    fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    ::connect(fd_, reinterpret_cast<sockaddr*>(&in), sizeof in);
  }
  if (fd_ < 0) throw std::runtime_error("no socket");
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

std::string const& HttpClient::receiveUntil(double seconds, bool (*done)(std::string const&)) {
  double const deadline = loop_.currentTime() + seconds;
  while (!closed_ && !(done && done(received_)) && loop_.currentTime() < deadline) {
    loop_.runFor(0.001);
    readAvailable();
  }
  return received_;
}

bool HttpClient::waitFor(std::string const& text, double seconds) {
  double const deadline = loop_.currentTime() + seconds;
  while (received_.find(text) == std::string::npos && !closed_ && loop_.currentTime() < deadline) {
    loop_.runFor(0.001);
    readAvailable();
  }
  return received_.find(text) != std::string::npos;
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
