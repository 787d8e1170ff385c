// A plain HTTP client for tests of a server that runs on the test's own activity loop: it sends
// raw bytes, so a test can send what no well-behaved client would, and it turns the loop while
// it waits, since nothing else serves the requests.
#pragma once

#include <functional>
#include <string>

#include "platform/zel/ActivityManager.h"

namespace Http::Testing {

class HttpClient {
 public:
  // Connects to `address`, unix:PATH.
  HttpClient(Zel::ActivityManager& loop, std::string const& address);
  ~HttpClient();
  HttpClient(HttpClient const&) = delete;
  HttpClient& operator=(HttpClient const&) = delete;

  void send(std::string const& bytes);
  // Turns the loop until `done(received)` holds, the server closes, or `seconds` pass.
  std::string const& receiveUntil(double seconds,
                                  std::function<bool(std::string const&)> const& done = {});
  // Turns the loop until the received text holds `text`; false when it does not in time.
  bool waitFor(std::string const& text, double seconds);
  bool closedByServer() const noexcept { return closed_; }
  std::string const& received() const noexcept { return received_; }
  void clear() { received_.clear(); }

 private:
  void readAvailable();

  Zel::ActivityManager& loop_;
  int fd_ = -1;
  std::string received_;
  bool closed_ = false;
};

struct Response {
  int status = 0;
  std::string headers;
  std::string body;
};

// One GET (Connection: close), served by turning `loop`; status 0 when no answer came.
Response get(Zel::ActivityManager& loop, std::string const& address, std::string const& path);

}  // namespace Http::Testing
