#include "platform/redis/TablePublisher.h"

#include <hiredis/hiredis.h>

#include <memory>
#include <stdexcept>

#include "platform/redis/Connection.h"
#include "platform/redis/Reply.h"

namespace Statedb::Redis {

void ReplyFree::operator()(redisReply* reply) const {
  freeReplyObject(reply);
}

namespace {

ReplyPtr runOn(redisContext* context, std::vector<std::string> const& args) {
  std::vector<char const*> argv;
  std::vector<std::size_t> lengths;
  for (auto const& arg : args) {
    argv.push_back(arg.data());
    lengths.push_back(arg.size());
  }
  auto* reply = static_cast<redisReply*>(
      redisCommandArgv(context, static_cast<int>(args.size()), argv.data(), lengths.data()));
  if (!reply) {
    throw std::runtime_error(std::string("database connection: ") +
                             (context->errstr[0] ? context->errstr : "lost"));
  }
  return ReplyPtr(reply);
}

}  // namespace

std::unique_ptr<TablePublisher> TablePublisher::publisherIs(Endpoint const& endpoint,
                                                            std::string& error) {
  ignoreBrokenPipes();
  std::unique_ptr<TablePublisher> publisher(new TablePublisher(endpoint));
  if (!publisher->connect(error)) return nullptr;
  return publisher;
}

bool TablePublisher::connect(std::string& error) {
  if (context_) redisFree(context_);
  context_ = endpoint_.kind == Endpoint::Kind::unixSocket
                 ? redisConnectUnix(endpoint_.path.c_str())
                 : redisConnect(endpoint_.host.c_str(), endpoint_.port);
  if (!context_ || context_->err) {
    error = "cannot reach " + endpoint_.describe() + ": " +
            (context_ ? context_->errstr : "out of memory");
    return false;
  }
  try {
    if (endpoint_.hasCredentials()) {
      auto password = passwordFrom(endpoint_.passwordFile, error);
      if (!password) return false;
      std::vector<std::string> auth{"AUTH"};
      if (!endpoint_.user.empty()) auth.push_back(endpoint_.user);
      auth.push_back(*password);
      ReplyPtr reply = runOn(context_, auth);
      if (Reply const answer(*reply); answer.isError()) {
        error = "authentication refused: " + std::string(answer.text());
        return false;
      }
    }
    if (endpoint_.db != 0) runOn(context_, {"SELECT", std::to_string(endpoint_.db)});
  } catch (std::exception const& e) {
    error = e.what();
    return false;
  }
  return true;
}

ReplyPtr TablePublisher::run(std::vector<std::string> const& args) {
  // A server restarted since the last command gets one new connection.
  if (context_ && context_->err == 0) {
    try {
      return runOn(context_, args);
    } catch (std::runtime_error const&) {
    }
  }
  std::string error;
  if (!connect(error)) throw std::runtime_error(error);
  return runOn(context_, args);
}

TablePublisher::~TablePublisher() {
  if (context_) redisFree(context_);
}

void TablePublisher::hashIs(std::string const& key, Hash const& hash, bool replace) {
  std::vector<std::string> hset{"HSET", key};
  for (auto const& [field, value] : hash) {
    hset.push_back(field);
    hset.push_back(value);
  }
  if (!replace) {
    if (hash.empty()) return;
    run(hset);
    return;
  }
  run({"MULTI"});
  run({"DEL", key});
  if (!hash.empty()) run(hset);
  run({"EXEC"});
}

bool TablePublisher::keyDel(std::string const& key) {
  return run({"DEL", key})->integer > 0;
}

std::vector<std::string> TablePublisher::keys(std::string const& pattern) {
  std::vector<std::string> found;
  std::string cursor = "0";
  do {
    ReplyPtr reply = run({"SCAN", cursor, "MATCH", pattern, "COUNT", kScanCount});
    auto const page = scanPageOf(Reply(*reply));
    if (!page) break;
    cursor = page->cursor;
    for (std::size_t i = 0; i < page->keys.size(); ++i) found.emplace_back(page->keys[i].text());
  } while (cursor != "0");
  return found;
}

void TablePublisher::tableClear(std::string const& table) {
  for (auto const& key : keys(table + "|*")) run({"DEL", key});
}

std::string TablePublisher::command(std::vector<std::string> const& args) {
  return Reply(*run(args)).printed();
}

void TablePublisher::pipelined(std::vector<std::vector<std::string>> const& commands) {
  if (!context_ || context_->err) {
    std::string error;
    if (!connect(error)) throw std::runtime_error(error);
  }
  for (auto const& args : commands) {
    std::vector<char const*> argv;
    std::vector<std::size_t> lengths;
    for (auto const& arg : args) {
      argv.push_back(arg.data());
      lengths.push_back(arg.size());
    }
    redisAppendCommandArgv(context_, static_cast<int>(args.size()), argv.data(), lengths.data());
  }
  for (std::size_t i = 0; i < commands.size(); ++i) {
    void* reply = nullptr;
    if (redisGetReply(context_, &reply) != REDIS_OK) {
      throw std::runtime_error(std::string("database connection: ") + context_->errstr);
    }
    freeReplyObject(reply);
  }
}

Hash TablePublisher::hash(std::string const& key) {
  std::vector<FieldView> fields;
  ReplyPtr const reply = run({"HGETALL", key});
  fieldsOf(Reply(*reply), fields);
  return {fields.begin(), fields.end()};
}

}  // namespace Statedb::Redis
