#include "platform/redis/TableScan.h"

#include <algorithm>

#include "platform/redis/TableCodec.h"

namespace Statedb::Redis {

namespace {

// Inside a class only these mean something to the server's matcher; everything else stands for
// itself.
void appendClassMember(std::string& pattern, char c) {
  if (c == '\\' || c == ']' || c == '^' || c == '-') pattern += '\\';
  pattern += c;
}

void appendLiteral(std::string& pattern, char c) {
  if (c == '\\' || c == '*' || c == '?' || c == '[' || c == ']') pattern += '\\';
  pattern += c;
}

}  // namespace

std::string scanPatternOf(std::vector<std::string> const& prefixes) {
  std::string pattern;
  if (prefixes.empty()) return "*";
  std::size_t shortest = prefixes.front().size();
  for (auto const& prefix : prefixes) shortest = std::min(shortest, prefix.size());
  for (std::size_t i = 0; i < shortest; ++i) {
    std::string members;
    for (auto const& prefix : prefixes) {
      if (members.find(prefix[i]) == std::string::npos) members += prefix[i];
    }
    if (members.size() == 1) {
      appendLiteral(pattern, members.front());
      continue;
    }
    pattern += '[';
    for (char c : members) appendClassMember(pattern, c);
    pattern += ']';
  }
  pattern += '*';
  return pattern;
}

TableScan::TableScan(Link& link, std::initializer_list<std::string_view> tables, Key onKey,
                     Done onDone)
    : link_(link), onKey_(std::move(onKey)), onDone_(std::move(onDone)) {
  for (std::string_view table : tables) prefixes_.push_back(std::string(table) + kSeparator);
  pattern_ = scanPatternOf(prefixes_);
}

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
                  if (handOn(page->keys, walk) && last) onDone_();
                });
}

bool TableScan::handOn(Reply keys, std::uint64_t walk) {
  std::size_t const count = keys.size();
  std::size_t const tables = prefixes_.size();
  // Whoever takes a key may stop the walk or start another: the rest of this page is not theirs.
  for (std::size_t i = 0; i < count && walk == walk_; ++i) {
    std::string_view const key = keys[i].text();
    for (std::size_t table = 0; table < tables; ++table) {
      if (key.starts_with(prefixes_[table])) {
        onKey_(table, key);
        break;
      }
    }
  }
  return walk == walk_;
}

}  // namespace Statedb::Redis
