// A server's answer as the backend reads it: text, an error, an array of answers. Every question
// about the client library's reply types is asked here, so that a reply of an unexpected shape
// reads as empty rather than as a null pointer somewhere else.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct redisReply;

namespace Statedb::Redis {

class Reply {
 public:
  explicit Reply(redisReply const& reply) noexcept : reply_(&reply) {}

  bool isError() const noexcept;
  // An error that says the server cannot serve now but will: loading its data, blocked by a
  // script, or a replica without its primary. Any other error is the command's own.
  bool isNotServingYet() const noexcept;
  bool isArray() const noexcept;
  // The text of a string, status or error; empty for any other reply.
  std::string_view text() const noexcept;
  // The elements of an array; none for any other reply.
  std::size_t size() const noexcept;
  Reply operator[](std::size_t index) const noexcept;
  // Nil as "(nil)", numbers in decimal, arrays joined by spaces: for a person to read.
  std::string printed() const;

 private:
  redisReply const* reply_;
};

// One step of a SCAN: the cursor of the next and the keys found; nullopt when the reply is not
// one (an error, or a refusal the server words otherwise).
struct ScanPage {
  std::string_view cursor;
  Reply keys;
};
std::optional<ScanPage> scanPageOf(Reply reply);

// The fields of an HGETALL reply as views into it; none for any other reply.
void fieldsOf(Reply reply, std::vector<std::pair<std::string_view, std::string_view>>& fields);

}  // namespace Statedb::Redis
