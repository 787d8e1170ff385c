#include "platform/redis/ReplyArena.h"

#include <hiredis/hiredis.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace Statedb::Redis {

namespace {

// Every reply part knows its arena: the library frees a whole reply by its top part alone.
struct Part {
  ReplyArena* arena;
  redisReply reply;
};

Part* partOf(void* reply) {
  return reinterpret_cast<Part*>(static_cast<std::byte*>(reply) - offsetof(Part, reply));
}

redisReply* partIn(redisReadTask const* task, int type) {
  // The top part's task carries the reader's private data; the others find it through the part
  // that holds them.
  ReplyArena* arena =
      task->parent ? partOf(task->parent->obj)->arena : static_cast<ReplyArena*>(task->privdata);
  auto* part = static_cast<Part*>(arena->allocate(sizeof(Part)));
  part->arena = arena;
  part->reply.type = type;
  if (task->parent) {
    auto* parent = static_cast<redisReply*>(task->parent->obj);
    parent->element[task->idx] = &part->reply;
  }
  return &part->reply;
}

void* stringPart(redisReadTask const* task, char* text, std::size_t length) {
  redisReply* reply = partIn(task, task->type);
  auto* copy = static_cast<char*>(partOf(reply)->arena->allocate(length + 1));
  std::memcpy(copy, text, length);  // the arena's space is zeroed: the copy ends in a NUL
  reply->str = copy;
  reply->len = length;
  return reply;
}

void* arrayPart(redisReadTask const* task, int elements) {
  redisReply* reply = partIn(task, REDIS_REPLY_ARRAY);
  if (elements > 0) {
    std::size_t const count = static_cast<std::size_t>(elements);
    reply->element =
        static_cast<redisReply**>(partOf(reply)->arena->allocate(count * sizeof(redisReply*)));
    reply->elements = count;
  }
  return reply;
}

void* integerPart(redisReadTask const* task, long long value) {
  redisReply* reply = partIn(task, REDIS_REPLY_INTEGER);
  reply->integer = value;
  return reply;
}

void* nilPart(redisReadTask const* task) {
  return partIn(task, REDIS_REPLY_NIL);
}

void replyDone(void* reply) {
  partOf(reply)->arena->reset();
}

redisReplyObjectFunctions kArenaParts = {stringPart, arrayPart, integerPart, nilPart, replyDone};

constexpr std::size_t kAlignment = alignof(std::max_align_t);

}  // namespace

void ReplyArena::attachTo(redisReader& reader) {
  reader.fn = &kArenaParts;
  reader.privdata = this;
}

void* ReplyArena::allocate(std::size_t size) {
  size = (size + kAlignment - 1) / kAlignment * kAlignment;
  if (size > kBlockSize / 4) {
    auto fits = std::find_if(spare_.begin(), spare_.end(),
                             [size](Large const& spare) { return spare.size >= size; });
    if (fits == spare_.end()) {
      // Room to keep it at reset, which must not fail.
      spare_.reserve(std::min(kSpareCount, spare_.size() + large_.size() + 1));
      large_.push_back(Large{std::make_unique<std::byte[]>(size), size});
      return large_.back().space.get();  // zeroed
    }
    large_.push_back(std::move(*fits));
    spare_.erase(fits);
    std::memset(large_.back().space.get(), 0, size);
    return large_.back().space.get();
  }
  if (blocks_.empty() || used_ + size > kBlockSize) {
    if (!blocks_.empty()) ++block_;
    if (block_ == blocks_.size()) blocks_.push_back(std::make_unique<std::byte[]>(kBlockSize));
    used_ = 0;
  }
  std::byte* space = blocks_[block_].get() + used_;
  used_ += size;
  // Blocks come back holding earlier replies; the library expects parts that start out empty.
  std::memset(space, 0, size);
  return space;
}

void ReplyArena::reset() noexcept {
  for (auto& large : large_) {
    if (large.size <= kSpareLimit && spare_.size() < spare_.capacity()) {
      spare_.push_back(std::move(large));
    }
  }
  large_.clear();
  block_ = 0;
  used_ = 0;
}

}  // namespace Statedb::Redis
