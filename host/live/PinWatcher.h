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

#include "platform/model/CorvelPinConfig.h"
#include "platform/zel/Dir.h"
#include "platform/zel/Ptr.h"

namespace Host {

struct PinChange {
  std::string pin;
  std::optional<std::uint32_t> value;  // nullopt: the pin entity was removed
  double time = 0.0;
};

class PinWatcher {
 public:
  using Listener = std::function<void(PinChange const& change)>;
  using Clock = std::function<double()>;

  PinWatcher(Zel::Dir& pins, Clock clock, Listener listener);
  ~PinWatcher();
  PinWatcher(PinWatcher const&) = delete;
  PinWatcher& operator=(PinWatcher const&) = delete;

 private:
  class DirReactor;
  class PinReactor;

  struct Watched {
    Zel::Ptr<PinReactor> reactor;
    std::optional<std::uint32_t> shown;
  };

  void onEntry(Zel::Name const& name);
  void onAllEntries();
  void onValue(Zel::Name const& name);
  void report(std::string const& pin, Watched& watched, std::optional<std::uint32_t> value);
  void detach(Watched& watched);

  Zel::Ptr<Zel::Dir> pins_;
  Clock clock_;
  Listener listener_;
  Zel::Ptr<DirReactor> dirReactor_;
  std::unordered_map<std::string, Watched> watched_;
};

}  // namespace Host
