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

bool parseTraceLevels(std::string const& text, std::uint32_t& levels) {
  if (text == "all") {
    levels = ~0u;
    return true;
  }
  std::uint32_t mask = 0;
  std::size_t pos = 0;
  if (text.empty()) return false;
  while (pos <= text.size()) {
    std::size_t comma = text.find(',', pos);
    std::string part =
        text.substr(pos, comma == std::string::npos ? std::string::npos : comma - pos);
    int low = -1, high = -1;
    char extra;
    if (std::sscanf(part.c_str(), "%d-%d%c", &low, &high, &extra) == 2) {
    } else if (std::sscanf(part.c_str(), "%d%c", &low, &extra) == 1) {
      high = low;
    } else {
      return false;
    }
    if (part.find_first_not_of("0123456789-") != std::string::npos) return false;
    if (low < 0 || high > 31 || low > high) return false;
    for (int l = low; l <= high; ++l) mask |= 1u << l;
    if (comma == std::string::npos) break;
    pos = comma + 1;
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
