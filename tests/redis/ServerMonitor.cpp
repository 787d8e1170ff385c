#include "tests/redis/ServerMonitor.h"

#include <hiredis/hiredis.h>
#include <sys/time.h>

#include <stdexcept>

namespace PinlampTest {

namespace {

redisContext* connected(std::string const& socket) {
  timeval const timeout{5, 0};
  redisContext* context = redisConnectUnixWithTimeout(socket.c_str(), timeout);
  if (!context || context->err) {
    if (context) redisFree(context);
    throw std::runtime_error("cannot connect to " + socket);
  }
  redisSetTimeout(context, timeout);
  return context;
}

// A MONITOR line: `<time> [<db> <client>] "WORD" "WORD" ...` -> `WORD WORD ...`.
std::string wordsOf(std::string const& line) {
  std::string words;
  std::size_t at = line.find(']');
  while (at != std::string::npos && (at = line.find('"', at + 1)) != std::string::npos) {
    std::string word;
    for (++at; at < line.size() && line[at] != '"'; ++at) {
      if (line[at] == '\\' && at + 1 < line.size()) ++at;
      word += line[at];
    }
    words += (words.empty() ? "" : " ") + word;
  }
  return words;
}

}  // namespace

ServerMonitor::ServerMonitor(std::string const& socketPath)
    : socket_(socketPath), context_(connected(socketPath)) {
  auto* reply = static_cast<redisReply*>(redisCommand(context_, "MONITOR"));
  bool const ok = reply && reply->type == REDIS_REPLY_STATUS;
  if (reply) freeReplyObject(reply);
  if (!ok) throw std::runtime_error("MONITOR refused");
}

ServerMonitor::~ServerMonitor() {
  if (context_) redisFree(context_);
}

std::vector<std::string> ServerMonitor::commands() {
  std::string const marker = "pinlamp-monitor-marker-" + std::to_string(++marker_);
  redisContext* other = connected(socket_);
  if (auto* reply = redisCommand(other, "ECHO %s", marker.c_str())) freeReplyObject(reply);
  redisFree(other);
  std::vector<std::string> commands;
  for (;;) {
    void* raw = nullptr;
    if (redisGetReply(context_, &raw) != REDIS_OK || !raw) {
      throw std::runtime_error("MONITOR stream ended before its marker");
    }
    auto* reply = static_cast<redisReply*>(raw);
    std::string const line(reply->str ? reply->str : "", reply->str ? reply->len : 0);
    freeReplyObject(reply);
    std::string words = wordsOf(line);
    if (words == "ECHO " + marker) return commands;
    commands.push_back(std::move(words));
  }
}

std::vector<std::string> ServerMonitor::writesOf(std::vector<std::string> const& commands,
                                                 std::string const& key) {
  std::vector<std::string> writes;
  for (auto const& command : commands) {
    std::size_t const space = command.find(' ');
    if (space == std::string::npos) continue;
    std::string const verb = command.substr(0, space);
    std::string const rest = command.substr(space + 1);
    bool const writing = verb == "HSET" || verb == "DEL" || verb == "HDEL" || verb == "UNLINK" ||
                         verb == "HMSET" || verb == "HSETNX";
    if (writing && (rest == key || rest.starts_with(key + " "))) writes.push_back(command);
  }
  return writes;
}

}  // namespace PinlampTest
