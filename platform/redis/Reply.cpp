#include "platform/redis/Reply.h"

#include <hiredis/hiredis.h>

namespace Statedb::Redis {

bool Reply::isError() const noexcept {
  return reply_->type == REDIS_REPLY_ERROR;
}

bool Reply::isNotServingYet() const noexcept {
  if (!isError()) return false;
  std::string_view const error = text();
  return error.starts_with("LOADING") || error.starts_with("BUSY") ||
         error.starts_with("MASTERDOWN");
}

bool Reply::isArray() const noexcept {
  return reply_->type == REDIS_REPLY_ARRAY;
}

std::string_view Reply::text() const noexcept {
  switch (reply_->type) {
    case REDIS_REPLY_ERROR:
    case REDIS_REPLY_STATUS:
    case REDIS_REPLY_STRING:
      return reply_->str ? std::string_view(reply_->str, reply_->len) : std::string_view();
    default:
      return {};
  }
}

std::size_t Reply::size() const noexcept {
  return isArray() ? reply_->elements : 0;
}

Reply Reply::operator[](std::size_t index) const noexcept {
  return Reply(*reply_->element[index]);
}

std::string Reply::printed() const {
  switch (reply_->type) {
    case REDIS_REPLY_NIL:
      return "(nil)";
    case REDIS_REPLY_INTEGER:
      return std::to_string(reply_->integer);
    case REDIS_REPLY_ARRAY: {
      std::string joined;
      for (std::size_t i = 0; i < size(); ++i) {
        if (i) joined += ' ';
        joined += (*this)[i].printed();
      }
      return joined;
    }
    default:
      return std::string(text());
  }
}

std::optional<ScanPage> scanPageOf(Reply reply) {
  if (reply.size() != 2 || !reply[1].isArray()) return std::nullopt;
  return ScanPage{reply[0].text(), reply[1]};
}

void fieldsOf(Reply reply, std::vector<std::pair<std::string_view, std::string_view>>& fields) {
  fields.clear();
  for (std::size_t i = 0; i + 1 < reply.size(); i += 2) {
    fields.emplace_back(reply[i].text(), reply[i + 1].text());
  }
}

}  // namespace Statedb::Redis
