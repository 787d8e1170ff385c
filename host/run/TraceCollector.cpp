#include "host/run/TraceCollector.h"

#include <utility>

namespace Host {

TraceCollector::TraceCollector(std::string agentFacility, std::ostream& out)
    : agentFacility_(std::move(agentFacility)), out_(&out) {}

void TraceCollector::record(Zel::TraceRecord const& record) {
  std::string_view const facility = record.facility.view();
  if (facility == agentFacility_) {
    // A long live session with tracing on must not grow without bound; expectations only ever
    // look at the records of the last command.
    if (kept_.size() >= kMaxKept) forgetBefore(dropped_ + kMaxKept / 2);
    kept_.push_back(record);
  }
  auto const printed = printed_.find(std::string(facility));
  if (printed == printed_.end() || record.level < 0 || record.level > 31) return;
  if (!((printed->second >> record.level) & 1u)) return;
  Zel::TraceRecord shown = record;
  shown.time -= epoch_;
  *out_ << Zel::StreamTraceSink::formatLine(shown) << '\n';
  out_->flush();
}

void TraceCollector::printedLevelsIs(std::string const& facility, std::uint32_t levels) {
  printed_[facility] = levels;
  apply(facility);
}

void TraceCollector::recordedLevelsIs(std::uint32_t levels) {
  recorded_ = levels;
  apply(agentFacility_);
}

bool TraceCollector::isRecorded(int level) const noexcept {
  if (level < 0 || level > 31) return false;
  auto const printed = printed_.find(agentFacility_);
  std::uint32_t const enabled = recorded_ | (printed == printed_.end() ? 0u : printed->second);
  return (enabled >> level) & 1u;
}

void TraceCollector::forgetBefore(std::size_t index) {
  while (dropped_ < index && !kept_.empty()) {
    kept_.pop_front();
    ++dropped_;
  }
}

void TraceCollector::reset() {
  recorded_ = 0;
  for (auto& [facility, levels] : printed_) {
    levels = 0;
    Zel::traceLevelsIs(Zel::String(facility), 0);
  }
  printed_.clear();
  Zel::traceLevelsIs(Zel::String(agentFacility_), 0);
  dropped_ += kept_.size();
  kept_.clear();
}

void TraceCollector::apply(std::string const& facility) {
  auto const printed = printed_.find(facility);
  std::uint32_t levels = printed == printed_.end() ? 0u : printed->second;
  if (facility == agentFacility_) levels |= recorded_;
  Zel::traceLevelsIs(Zel::String(facility), levels);
}

}  // namespace Host
