#include "platform/zel/Trace.h"

#include <cstdio>
#include <iostream>
#include <unordered_map>

#include "platform/zel/ActivityManager.h"

namespace Zel {

struct TraceHandle::State {
  String facility;
  std::uint32_t levels = 0;
};

namespace {

std::unordered_map<String, TraceHandle::State*>& facilities() {
  static auto* table = new std::unordered_map<String, TraceHandle::State*>;
  return *table;
}

TraceHandle::State& facilityState(String const& facility) {
  auto [it, inserted] = facilities().try_emplace(facility, nullptr);
  if (inserted) it->second = new TraceHandle::State{facility, 0};
  return *it->second;
}

StreamTraceSink& defaultSink() {
  static auto* sink = new StreamTraceSink(std::cerr);
  return *sink;
}

TraceSink* currentSink = nullptr;

}  // namespace

TraceHandle::TraceHandle(String const& facility, bool enableAll)
    : state_(&facilityState(facility)), levels_(&state_->levels) {
  if (enableAll) state_->levels = ~0u;
}

String const& TraceHandle::facility() const noexcept {
  return state_->facility;
}

void traceLevelsIs(String const& facility, std::uint32_t levels) {
  facilityState(facility).levels = levels;
}

std::uint32_t traceLevels(String const& facility) {
  return facilityState(facility).levels;
}

namespace {
// Reads a level number (digits only, 0..31) from `text` at `pos`; false when there is none.
bool readLevel(std::string const& text, std::size_t& pos, int& level) {
  std::size_t const start = pos;
  level = 0;
  while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') {
    level = level * 10 + (text[pos] - '0');
    if (level > 31) return false;
    ++pos;
  }
  return pos > start;
}
}  // namespace

bool parseTraceLevels(std::string const& text, std::uint32_t& levels) {
  if (text == "all") {
    levels = ~0u;
    return true;
  }
  std::uint32_t mask = 0;
  std::size_t pos = 0;
  for (;;) {
    int low = 0;
    int high = 0;
    if (!readLevel(text, pos, low)) return false;
    high = low;
    if (pos < text.size() && text[pos] == '-') {
      ++pos;
      if (!readLevel(text, pos, high) || high < low) return false;
    }
    for (int l = low; l <= high; ++l) mask |= 1u << l;
    if (pos == text.size()) break;
    if (text[pos] != ',') return false;
    ++pos;
  }
  levels = mask;
  return true;
}

void traceSinkIs(TraceSink* sink) noexcept {
  currentSink = sink;
}

TraceSink* traceSink() noexcept {
  return currentSink ? currentSink : &defaultSink();
}

std::string StreamTraceSink::formatLine(TraceRecord const& r) {
  char time[64];
  std::snprintf(time, sizeof time, "%.6f", r.time);
  std::string line;
  line.reserve(64 + r.text.size());
  line.append(time)
      .append(" ")
      .append(r.facility.view())
      .append("/")
      .append(std::to_string(r.level));
  line.append(" ").append(r.source.view()).append(":").append(std::to_string(r.line));
  line.append(" ").append(r.function.view()).append(": ").append(r.text);
  return line;
}

void StreamTraceSink::record(TraceRecord const& record) {
  *out_ << formatLine(record) << '\n';
}

std::vector<std::string> CapturingTraceSink::texts(String const& facility, int level) const {
  std::vector<std::string> out;
  for (auto const& r : records_) {
    if (r.facility == facility && r.level == level) out.push_back(r.text);
  }
  return out;
}

std::vector<std::string> CapturingTraceSink::texts(String const& facility) const {
  std::vector<std::string> out;
  for (auto const& r : records_) {
    if (r.facility == facility) out.push_back(r.text);
  }
  return out;
}

TraceHelper* TraceHelper::createIfEnabled(TraceHandle const& handle,
                                          TraceFacility::FacilityLevel level,
                                          TraceHelperStorage& storage) {
  if (!handle.isEnabled(level)) return nullptr;
  return ::new (static_cast<void*>(storage.bytes)) TraceHelper(handle, level);
}

void TraceHelper::trace(char const* source, std::uint32_t line, char const* function) {
  TraceRecord record;
  record.facility = handle_->facility();
  record.level = level_;
  record.source = String(source);
  record.line = line;
  record.function = String(function);
  record.text = text_.str();
  record.time = System::currentTime();
  traceSink()->record(record);
}

}  // namespace Zel
