// Tracing. A facility (such as "Pinlamp") has a set of enabled levels (0..31) that can be changed
// at run time by name, even before any handle of that facility exists. A record is built only
// when its level is enabled: createIfEnabled returns null otherwise, and the caller formats
// nothing. Records go to one process-wide sink.
#pragma once

#include <cstdint>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "platform/zel/String.h"

namespace Zel {

namespace TraceFacility {
using FacilityLevel = int;
}  // namespace TraceFacility

struct TraceRecord {
  String facility;
  int level = 0;
  String source;
  std::uint32_t line = 0;
  String function;
  std::string text;
  double time = 0.0;
};

class TraceSink {
 public:
  virtual ~TraceSink() = default;
  virtual void record(TraceRecord const& record) = 0;
};

// Writes one line per record:
//   <time> <facility>/<level> <source>:<line> <function>: <text>
// with the time in seconds with six decimals.
class StreamTraceSink : public TraceSink {
 public:
  explicit StreamTraceSink(std::ostream& out) : out_(&out) {}
  void record(TraceRecord const& record) override;
  static std::string formatLine(TraceRecord const& record);

 private:
  std::ostream* out_;
};

// Keeps every record, for tests and for hosts that check what was traced.
class CapturingTraceSink : public TraceSink {
 public:
  void record(TraceRecord const& record) override { records_.push_back(record); }
  std::vector<TraceRecord> const& records() const noexcept { return records_; }
  void clear() noexcept { records_.clear(); }
  // The texts of one facility's records at one level, in order.
  std::vector<std::string> texts(String const& facility, int level) const;
  std::vector<std::string> texts(String const& facility) const;

 private:
  std::vector<TraceRecord> records_;
};

// The sink records go to; the default writes to standard error. Not owned.
void traceSinkIs(TraceSink* sink) noexcept;
TraceSink* traceSink() noexcept;

// Enabled levels of a facility as a bit mask (bit n = level n).
void traceLevelsIs(String const& facility, std::uint32_t levels);
std::uint32_t traceLevels(String const& facility);
// Parses "0-9", "3,6,8", "2,5-7" or "all"; false on anything else.
bool parseTraceLevels(std::string const& text, std::uint32_t& levels);

class TraceHandle {
 public:
  // `enableAll` turns every level of the facility on at once.
  TraceHandle(String const& facility, bool enableAll);
  String const& facility() const noexcept;
  bool isEnabled(TraceFacility::FacilityLevel level) const noexcept {
    return level >= 0 && level < 32 && ((*levels_ >> level) & 1u);
  }

  struct State;  // one per facility name, shared by all its handles

 private:
  State* state_;
  std::uint32_t const* levels_;
};

class TraceHelper;

// Room for one builder on the caller's stack, so an enabled trace allocates nothing extra.
struct TraceHelperStorage;

class TraceHelper {
 public:
  // A builder in `storage` when the handle's facility has `level` enabled; null otherwise.
  static TraceHelper* createIfEnabled(TraceHandle const& handle, TraceFacility::FacilityLevel level,
                                      TraceHelperStorage& storage);
  std::ostream& stream() noexcept { return text_; }
  // Emits the record with the text streamed so far.
  void trace(char const* source, std::uint32_t line, char const* function);

  TraceHelper(TraceHandle const& handle, TraceFacility::FacilityLevel level)
      : handle_(&handle), level_(level) {}

 private:
  TraceHandle const* handle_;
  TraceFacility::FacilityLevel level_;
  std::ostringstream text_;
};

struct TraceHelperStorage {
  alignas(TraceHelper) unsigned char bytes[sizeof(TraceHelper)];
};

// Disposes of a builder on every path out of the tracing statement, also when streaming throws.
class EnsureTraceHelperIsDestroyed {
 public:
  explicit EnsureTraceHelperIsDestroyed(TraceHelper* helper) noexcept : helper_(helper) {}
  ~EnsureTraceHelperIsDestroyed() {
    if (helper_) helper_->~TraceHelper();
  }
  EnsureTraceHelperIsDestroyed(EnsureTraceHelperIsDestroyed const&) = delete;
  EnsureTraceHelperIsDestroyed& operator=(EnsureTraceHelperIsDestroyed const&) = delete;

 private:
  TraceHelper* helper_;
};

}  // namespace Zel

// Emits one record of `handle` at `level` with the streamed `text`, formatting nothing when the
// level is off (checked inline, before anything else is touched). `text` is a stream
// expression: ZEL_TRACE(h, 6, "f", 12, "pin " << name).
#define ZEL_TRACE(handle, level, source, line, function, text)                                 \
  do {                                                                                         \
    ::Zel::TraceHandle const& zelTraceHandle_ = (handle);                                      \
    if (!zelTraceHandle_.isEnabled(level)) break;                                              \
    ::Zel::TraceHelperStorage zelTraceStorage_;                                                \
    if (::Zel::TraceHelper* zelTrace_ =                                                        \
            ::Zel::TraceHelper::createIfEnabled(zelTraceHandle_, (level), zelTraceStorage_)) { \
      ::Zel::EnsureTraceHelperIsDestroyed zelTraceGuard_(zelTrace_);                           \
      zelTrace_->stream() << text;                                                             \
      zelTrace_->trace((source), (line), (function));                                          \
    }                                                                                          \
  } while (0)
