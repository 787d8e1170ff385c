// Where a connection's replies are decoded. The client library would allocate every element of
// a reply and free each one after its callback; a resync decodes hundreds of thousands of small
// replies, and that churn was a large share of its time. Here the parts of a reply are carved
// out of blocks that are reused once the reply is done with: the library hands each whole reply
// back before it decodes the next.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

struct redisReader;

namespace Statedb::Redis {

class ReplyArena {
 public:
  ReplyArena() = default;
  ReplyArena(ReplyArena const&) = delete;
  ReplyArena& operator=(ReplyArena const&) = delete;

  // Makes `reader` decode into this arena, which must outlive it.
  void attachTo(redisReader& reader);

  // Zeroed space for `size` bytes, aligned for any reply part; valid until reset().
  void* allocate(std::size_t size);
  void reset() noexcept;
  std::size_t blockCount() const noexcept { return blocks_.size(); }

 private:
  static constexpr std::size_t kBlockSize = 64 * 1024;

  std::vector<std::unique_ptr<std::byte[]>> blocks_;
  struct Large {
    std::unique_ptr<std::byte[]> space;
    std::size_t size;
  };
  // Parts bigger than a block: those of the reply being decoded, and space kept for the next
  // ones. A page of a scan is one such part per reply; freed and taken again each time, it made
  // the allocator sweep all its small free chunks at every page.
  std::vector<Large> large_;
  std::vector<Large> spare_;
  static constexpr std::size_t kSpareLimit = 1024 * 1024;  // larger parts are not kept
  static constexpr std::size_t kSpareCount = 4;            // nor more than this many
  std::size_t block_ = 0;                                  // the block being carved
  std::size_t used_ = 0;                                   // bytes of it handed out
};

}  // namespace Statedb::Redis
