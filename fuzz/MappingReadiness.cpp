#include "fuzz/MappingReadiness.h"

namespace WardenFuzz {

void MappingReadiness::observe(Hardware::Gpio::GpioLedSystemConfigDir const& mappings) {
  std::map<std::string, bool> now;
  for (auto member : mappings.gpioLeds()) {
    std::string name = member.key.stdString();
    auto const known = everReady_.find(name);
    bool const wasReady = known != everReady_.end() && known->second;
    now.emplace(std::move(name), wasReady || member.value->ready());
  }
  everReady_ = std::move(now);
}

bool MappingReadiness::isNeverReady(std::string const& led) const {
  auto const found = everReady_.find(led);
  return found != everReady_.end() && !found->second;
}

std::vector<std::string> MappingReadiness::neverReady() const {
  std::vector<std::string> names;
  for (auto const& [name, ready] : everReady_) {
    if (!ready) names.push_back(name);
  }
  return names;
}

}  // namespace WardenFuzz
