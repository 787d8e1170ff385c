// A writer of the input tables over its own blocking connection, as another agent publishes:
// every entity is written in one command (or one MULTI/EXEC), so that a follower never sees it
// half-written. Used by the host's scripted runs and by tests.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/redis/Endpoint.h"
#include "platform/redis/TableCodec.h"

struct redisContext;
struct redisReply;

namespace Statedb::Redis {

struct ReplyFree {
  void operator()(redisReply* reply) const;
};
using ReplyPtr = std::unique_ptr<redisReply, ReplyFree>;

class TablePublisher {
 public:
  // Null with `error` set when the server cannot be reached or refuses the credentials.
  static std::unique_ptr<TablePublisher> publisherIs(Endpoint const& endpoint, std::string& error);
  ~TablePublisher();
  TablePublisher(TablePublisher const&) = delete;
  TablePublisher& operator=(TablePublisher const&) = delete;

  // Sets the given fields; with `replace`, the fields not given go (DEL and HSET in one
  // transaction).
  void hashIs(std::string const& key, Hash const& hash, bool replace);
  // Removes the entity; true when it was there.
  bool keyDel(std::string const& key);
  // Removes every entity of `table`.
  void tableClear(std::string const& table);
  // Any command; the reply as text (arrays joined by spaces, nil as "(nil)"). Throws
  // std::runtime_error when the connection breaks.
  std::string command(std::vector<std::string> const& args);
  // Sends every command before reading any reply: many writes for the price of one round trip.
  void pipelined(std::vector<std::vector<std::string>> const& commands);
  // The hash at `key`, empty when absent.
  Hash hash(std::string const& key);
  std::vector<std::string> keys(std::string const& pattern);

 private:
  explicit TablePublisher(Endpoint endpoint) : endpoint_(std::move(endpoint)) {}
  bool connect(std::string& error);
  ReplyPtr run(std::vector<std::string> const& args);

  Endpoint endpoint_;
  redisContext* context_ = nullptr;
};

}  // namespace Statedb::Redis
