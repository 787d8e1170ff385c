// Follows the pin directory that the agent writes: learns of every pin entity as it comes and
// goes and of every change of its value, and tells a listener once per change that is still
// visible when the notification arrives (a pin set to 0 and at once back to 1 has not changed
// for anyone reading the database).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>

#include "platform/model/PinDirectoryFollower.h"
#include "platform/zel/Dir.h"

namespace Host {

struct PinChange {
  std::string pin;
  std::optional<std::uint32_t> value;  // nullopt: the pin entity was removed
  double time = 0.0;
};

class PinWatcher final : private Hardware::Gpio::PinDirectoryFollower::Owner {
 public:
  using Listener = std::function<void(PinChange const& change)>;
  using Clock = std::function<double()>;

  PinWatcher(Zel::Dir& pins, Clock clock, Listener listener);
  ~PinWatcher() override = default;
  PinWatcher(PinWatcher const&) = delete;
  PinWatcher& operator=(PinWatcher const&) = delete;

 private:
  using Pin = Hardware::Gpio::CorvelPinConfig;

  Tag onPinArrived(std::string const& name, Pin const& pin) override;
  void onPinValue(Tag, std::string const& name, Pin const& pin) override;
  void onPinLeft(std::string const& name) override;
  void report(std::string const& pin, std::optional<std::uint32_t> value);

  Clock clock_;
  Listener listener_;
  std::unordered_map<std::string, std::optional<std::uint32_t>> shown_;  // by pin name
  // Last: its first notifications come while it is built and find the rest ready.
  Hardware::Gpio::PinDirectoryFollower follower_;
};

}  // namespace Host
