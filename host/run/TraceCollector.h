// The host's trace sink. It keeps the agent facility's records for `expect trace`, and prints the
// records of the levels that the user asked for (--trace, `trace`) to a stream in the framework's
// line format, with times counted from the start of the run. A level is enabled when it is
// printed or when the script's expectations need it recorded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <ostream>
#include <string>

#include "platform/zel/Trace.h"

namespace Host {

class TraceCollector : public Zel::TraceSink {
 public:
  TraceCollector(std::string agentFacility, std::ostream& out);

  void record(Zel::TraceRecord const& record) override;

  std::string const& agentFacility() const noexcept { return agentFacility_; }
  // The levels of `facility` that are printed, replacing the previous set.
  void printedLevelsIs(std::string const& facility, std::uint32_t levels);
  // The levels of the agent facility that are recorded for expectations.
  void recordedLevelsIs(std::uint32_t levels);
  bool isRecorded(int level) const noexcept;
  // Printed times are counted from this time of the activity loop.
  void epochIs(double time) noexcept { epoch_ = time; }

  // The agent facility's records, numbered from the start of the run; the oldest may have been
  // forgotten, so valid numbers run from begin() to end().
  std::size_t begin() const noexcept { return dropped_; }
  std::size_t end() const noexcept { return dropped_ + kept_.size(); }
  Zel::TraceRecord const& at(std::size_t index) const { return kept_.at(index - dropped_); }
  void forgetBefore(std::size_t index);

  // Back to nothing enabled, nothing printed and nothing kept: ready for the next run.
  void reset();

 private:
  void apply(std::string const& facility);

  static constexpr std::size_t kMaxKept = 100000;

  std::string agentFacility_;
  std::ostream* out_;
  std::map<std::string, std::uint32_t> printed_;
  std::uint32_t recorded_ = 0;
  double epoch_ = 0.0;
  std::deque<Zel::TraceRecord> kept_;
  std::size_t dropped_ = 0;
};

}  // namespace Host
