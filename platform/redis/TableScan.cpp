#include "platform/redis/TableScan.h"

#include "platform/redis/TableCodec.h"

namespace Statedb::Redis {

TableScan::TableScan(Link& link, std::string_view table, Keys onKeys, Done onDone)
    : link_(link),
      pattern_(std::string(table) + kSeparator + '*'),
      onKeys_(std::move(onKeys)),
      onDone_(std::move(onDone)) {}

void TableScan::start() {
  ++walk_;
  scanning_ = true;
  step("0");
}

void TableScan::stop() noexcept {
  ++walk_;
  scanning_ = false;
}

void TableScan::step(std::string_view cursor) {
  link_.command({"SCAN", cursor, "MATCH", pattern_, "COUNT", kScanCount},
                [this, walk = walk_](Reply reply) {
                  if (walk != walk_) return;
                  auto const page = scanPageOf(reply);
                  if (!page) return link_.commandFailed(reply);
                  bool const last = page->cursor == "0";
                  if (last) {
                    scanning_ = false;
                  } else {
                    step(page->cursor);
                  }
                  onKeys_(page->keys);
                  if (last) onDone_();
                });
}

}  // namespace Statedb::Redis
