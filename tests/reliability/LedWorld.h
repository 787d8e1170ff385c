// The system under test and its model side by side: a fresh virtual-time loop, the central
// database with the agent's mounts, the agent itself, and the reference model. Every input change
// goes through here, so that the real entity and the model see the same change; the comparisons
// between the agent's outputs and the model's are here too.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "agent/Agent.h"
#include "platform/statedb/Database.h"
#include "platform/statedb/EntityManager.h"
#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/AllocTrack.h"
#include "tests/reliability/LedWorldModel.h"

namespace PinlampReliability {

// How many objects of every tracked type are alive, to prove that a teardown leaves nothing.
using LiveCounts = std::map<Zel::AllocTrackTypeInfo const*, std::int64_t>;

class LedWorld {
 public:
  using PinChoice = std::array<std::vector<std::string>, kColourCount>;

  // LEDs "led0".."led<n-1>" and a pool of pins "gpio0".."gpio<m-1>" that mappings draw from, so
  // that a small pool makes pins shared between LEDs common. No agent runs yet.
  LedWorld(std::size_t ledCount, std::size_t pinCount);
  ~LedWorld();
  LedWorld(LedWorld const&) = delete;
  LedWorld& operator=(LedWorld const&) = delete;

  std::vector<std::string> const& ledNames() const noexcept { return ledNames_; }
  std::vector<std::string> const& pinPool() const noexcept { return pinPool_; }
  LedWorldModel const& model() const noexcept { return model_; }
  std::size_t retiredMappingCount() const noexcept { return retired_.size(); }
  Pinlamp::Agent const& agent() const { return *agent_; }

  // What other agents do. Each changes the real input and queues in the model the notifications
  // that the change makes; nothing reaches the agent before settle().
  void mappingPublished(std::string const& name, bool ready, PinChoice const& pins);
  void mappingRemoved(std::string const& name);
  // Empties the mapping directory in one change, which the agent handles inside the change; ""
  // unless that would end the process (then nothing is changed).
  std::string allMappingsRemoved();
  void readyIs(std::string const& name, bool ready);
  void pinListed(std::string const& name, int colour, std::string const& pin, bool listed);
  // Toggles `ready` on a mapping object that has since been replaced or removed.
  void retiredMappingToggled(std::size_t index);
  void configPublished(std::string const& name, Led::LightSetting const& setting);
  void configRemoved(std::string const& name);
  void settingIs(std::string const& name, Led::LightSetting const& setting);

  // Delivers the queued notifications to the agent and to the model; "" when both end alike.
  std::string settle();
  Outcome lastOutcome() const noexcept { return lastOutcome_; }
  std::string const& lastAgentError() const noexcept { return lastAgentError_; }
  // The two halves of settle(), for a step that ends the process and so runs in a death test.
  Outcome predict() { return model_.deliverAll(); }
  void runAgentLoop() { loop_->runPending(); }

  // Lets virtual time pass on both sides; `ticked` receives the LEDs that flashed meanwhile.
  std::string advance(double seconds, std::vector<std::string>& ticked);

  // Destroys the agent: its pins must be gone and every object that it made freed. Every mapping
  // must have an output entry by then (see RandomSteps::readyAll).
  std::string agentStopped();
  // Starts a new agent on the directories as they are.
  std::string agentStarted();
  // Drops the agent, the inputs and the database: every tracked type must be back where it was
  // when the world was made.
  std::string released();

  // Where the agent and the model disagree, "" when they agree: for one LED, or for everything
  // (every LED, the whole pin directory, the collection sizes and the time).
  std::string ledMismatch(std::string const& name) const;
  std::string fullMismatch() const;

 private:
  void retire(Zel::Ptr<GpioLedConfig> const& mapping);

  std::vector<std::string> ledNames_;
  std::vector<std::string> pinPool_;
  Zel::ActivityManagerScope loop_;
  LiveCounts birth_;
  Zel::Ptr<Statedb::Database> database_;
  Zel::Ptr<Statedb::EntityManager> entityManager_;
  Zel::Ptr<Hardware::Gpio::GpioLedSystemConfigDir> mappings_;
  Zel::Ptr<Hardware::Led::LedSystemConfigDir> configs_;
  Zel::Ptr<Zel::Dir> pins_;
  Zel::Ptr<Pinlamp::Agent> agent_;
  LiveCounts beforeAgent_;
  std::deque<Zel::Ptr<GpioLedConfig>> retired_;
  LedWorldModel model_;
  Outcome lastOutcome_ = Outcome::delivered;
  std::string lastAgentError_;
};

}  // namespace PinlampReliability
