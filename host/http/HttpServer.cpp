#include "host/http/HttpServer.h"

#include <microhttpd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <deque>
#include <stdexcept>
#include <utility>

#include <unistd.h>

namespace Http {

struct HttpServer::Stream {
  HttpServer* server = nullptr;
  MHD_Connection* connection = nullptr;
  std::list<Stream>::iterator self;
  std::deque<std::shared_ptr<std::string const>> queued;
  std::size_t offset = 0;  // into queued.front()
  std::size_t backlog = 0;
  bool suspended = false;
  bool dropped = false;
};

namespace {

// The library's own diagnostics (a socket error, a limit reached) go to the host's log.
void logFromLibrary(void* log, char const* format, va_list arguments) {
  char line[512];
  std::vsnprintf(line, sizeof line, format, arguments);
  std::string text(line);
  while (!text.empty() && text.back() == '\n') text.pop_back();
  (*static_cast<HttpServer::Log*>(log))("http: " + text);
}

// HEAD gets the headers of GET: the library leaves the body out itself.
MHD_Result queue(MHD_Connection* connection, Reply const& reply) {
  MHD_Response* response = MHD_create_response_from_buffer(
      reply.body.size(), const_cast<char*>(reply.body.data()), MHD_RESPMEM_MUST_COPY);
  if (!response) return MHD_NO;
  MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, reply.contentType.c_str());
  MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
  MHD_add_response_header(response, "X-Content-Type-Options", "nosniff");
  if (reply.status == MHD_HTTP_METHOD_NOT_ALLOWED) {
    MHD_add_response_header(response, MHD_HTTP_HEADER_ALLOW, "GET, HEAD");
  }
  MHD_Result const queued = MHD_queue_response(connection, reply.status, response);
  MHD_destroy_response(response);
  return queued;
}

}  // namespace

struct Callbacks {
  static MHD_Result onRequest(void* self, MHD_Connection* connection, char const* url,
                              char const* method, char const* /*version*/,
                              char const* /*uploadData*/, std::size_t* /*uploadSize*/,
                              void** /*state*/) {
    auto* server = static_cast<HttpServer*>(self);
    ++server->requests_;
    // Answered from the headers alone: a body is never read, and the library closes the
    // connection after refusing one, so no upload can keep the loop busy.
    bool const head = std::strcmp(method, MHD_HTTP_METHOD_HEAD) == 0;
    if (head || std::strcmp(method, MHD_HTTP_METHOD_GET) == 0) {
      return server->answer(connection, url, head) ? MHD_YES : MHD_NO;
    }
    return queue(connection, {MHD_HTTP_METHOD_NOT_ALLOWED, "text/plain; charset=utf-8",
                              "read-only: GET or HEAD\n"});
  }

  static ssize_t onStreamRead(void* cls, std::uint64_t /*position*/, char* buffer,
                              std::size_t max) {
    auto& stream = *static_cast<HttpServer::Stream*>(cls);
    if (stream.dropped) {
      // A stream ended by a stopping server ends cleanly; one dropped for lagging does not.
      return stream.server->stopping_ ? MHD_CONTENT_READER_END_OF_STREAM
                                      : MHD_CONTENT_READER_END_WITH_ERROR;
    }
    std::size_t written = 0;
    while (written < max && !stream.queued.empty()) {
      std::string const& front = *stream.queued.front();
      std::size_t const n = std::min(max - written, front.size() - stream.offset);
      std::memcpy(buffer + written, front.data() + stream.offset, n);
      written += n;
      stream.offset += n;
      stream.backlog -= n;
      if (stream.offset == front.size()) {
        stream.queued.pop_front();
        stream.offset = 0;
      }
    }
    if (written != 0) return static_cast<ssize_t>(written);
    // Nothing to send: the connection sleeps until publish() has something for it.
    stream.suspended = true;
    MHD_suspend_connection(stream.connection);
    return 0;
  }

  static void onStreamFree(void* cls) {
    auto& stream = *static_cast<HttpServer::Stream*>(cls);
    stream.server->streams_.erase(stream.self);
  }
};

HttpServer::HttpServer(Zel::ActivityManager& loop, int listenFd, Site& site, Log log,
                       ServerLimits limits)
    : loop_(loop),
      site_(site),
      log_(std::move(log)),
      limits_(limits),
      timeout_(loop, [this] { service(); }),
      keepAlive_(loop, [this] { keepAlive(); }) {
  daemon_ = MHD_start_daemon(
      MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG, 0, nullptr, nullptr,
      &Callbacks::onRequest, this, MHD_OPTION_EXTERNAL_LOGGER, &logFromLibrary, &log_,
      MHD_OPTION_LISTEN_SOCKET, listenFd, MHD_OPTION_CONNECTION_LIMIT, limits_.connections,
      MHD_OPTION_CONNECTION_MEMORY_LIMIT, limits_.requestBytes, MHD_OPTION_CONNECTION_TIMEOUT,
      limits_.idleSeconds, MHD_OPTION_END);
  if (!daemon_) {
    ::close(listenFd);
    throw std::runtime_error("the HTTP server could not start");
  }
  epollFd_ = MHD_get_daemon_info(daemon_, MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd;
  loop_.fdReadableIs(epollFd_, [this] { service(); });
  service();
}

HttpServer::~HttpServer() {
  loop_.fdReadableIs(epollFd_, nullptr);
  // The library refuses to stop with suspended connections: each is ended, then stopped.
  stopping_ = true;
  for (Stream& stream : streams_) {
    stream.dropped = true;
    resume(stream);
  }
  MHD_run(daemon_);
  MHD_stop_daemon(daemon_);
}

void HttpServer::publish(std::string event) {
  if (streams_.empty()) return;
  auto const shared = std::make_shared<std::string const>(std::move(event));
  for (Stream& stream : streams_) {
    if (stream.dropped) continue;
    stream.queued.push_back(shared);
    stream.backlog += shared->size();
    if (stream.backlog > limits_.streamBacklogBytes) {
      // A viewer this far behind cannot catch up: its events go, and so does the connection as
      // soon as the library may end it (at its next write, or a second without one).
      stream.dropped = true;
      stream.queued.clear();
      ++droppedStreams_;
      MHD_set_connection_option(stream.connection, MHD_CONNECTION_OPTION_TIMEOUT, 1u);
    }
    resume(stream);
  }
  service();
}

void HttpServer::resume(Stream& stream) {
  if (!stream.suspended) return;
  stream.suspended = false;
  // The library takes the connection back at its next run, which publish() makes at once.
  MHD_resume_connection(stream.connection);
}

// The library's work for this turn, then its next timeout on the loop's clock.
void HttpServer::service() {
  MHD_run(daemon_);
  MHD_UNSIGNED_LONG_LONG milliseconds = 0;
  if (MHD_get_timeout(daemon_, &milliseconds) == MHD_YES) {
    timeout_.startAt(loop_.currentTime() + static_cast<double>(milliseconds) / 1000.0);
  } else {
    timeout_.stop();
  }
}

void HttpServer::keepAlive() {
  publish(":\n\n");
  if (!streams_.empty()) keepAlive_.startAt(loop_.currentTime() + limits_.keepAliveSeconds);
}

bool HttpServer::answer(MHD_Connection* connection, std::string_view path, bool head) {
  std::size_t const query = path.find('?');
  if (query != std::string_view::npos) path = path.substr(0, query);
  if (site_.isStream(path) && !head) return openStream(connection);
  return queue(connection, site_.get(path)) == MHD_YES;
}

bool HttpServer::openStream(MHD_Connection* connection) {
  Stream& stream = streams_.emplace_back();
  stream.server = this;
  stream.connection = connection;
  stream.self = std::prev(streams_.end());
  std::string start = site_.streamStart();
  stream.backlog = start.size();
  stream.queued.push_back(std::make_shared<std::string const>(std::move(start)));
  MHD_Response* response = MHD_create_response_from_callback(
      MHD_SIZE_UNKNOWN, 16 * 1024, &Callbacks::onStreamRead, &stream, &Callbacks::onStreamFree);
  if (!response) {
    streams_.erase(stream.self);
    return false;
  }
  MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, "text/event-stream");
  MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
  MHD_Result const queued = MHD_queue_response(connection, MHD_HTTP_OK, response);
  MHD_destroy_response(response);
  if (!keepAlive_.isRunning()) keepAlive_.startAt(loop_.currentTime() + limits_.keepAliveSeconds);
  return queued == MHD_YES;
}

}  // namespace Http
