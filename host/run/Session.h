// One run of an agent in the host: a fresh activity loop (virtual or monotonic time), a fresh
// in-memory database holding the directories that the host publishes into and the agent writes
// its pins to, and the agent itself, started as a host framework starts one. Exceptions that the
// agent raises out of a handler are handed to the session's owner and the loop goes on, as a
// framework goes on delivering.
#pragma once

#include <functional>
#include <string>

#include "host/run/AgentProfile.h"
#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/model/LedSystemConfigDir.h"
#include "platform/statedb/Database.h"
#include "platform/statedb/EntityManager.h"
#include "platform/warden/CAgent.h"
#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/Dir.h"

namespace Host {

using AgentFactory = std::function<Zel::Ptr<Warden::CAgent>(std::string const& name)>;
using RaisedHandler = std::function<void(std::string const& text)>;

class Session {
 public:
  Session(Zel::ActivityManager::TimeSource timeSource, RaisedHandler onRaised);
  ~Session();
  Session(Session const&) = delete;
  Session& operator=(Session const&) = delete;

  // Creates the agent, gives it its entity manager, calls doInit and runs the loop until the
  // mounts have completed. An exception from the factory (such as a plug-in that returns no
  // agent) leaves the session without an agent and propagates.
  void startAgent(AgentFactory const& factory, std::string const& name);

  // Runs `action`, handing any exception it raises to the session's owner.
  void guarded(std::function<void()> const& action);
  // Runs the loop until nothing is pending; time does not move.
  void settle();
  // Lets time pass: virtual time advances through every expiry due; live, the loop runs.
  void wait(double seconds);
  // Seconds since the session started, in the loop's time.
  double elapsed() const noexcept;
  double startTime() const noexcept { return startTime_; }
  bool isLive() const noexcept;

  Zel::ActivityManager& loop() const noexcept { return *loop_; }
  Hardware::Gpio::GpioLedSystemConfigDir& mappings() const noexcept { return *mappings_; }
  Hardware::Led::LedSystemConfigDir& leds() const noexcept { return *leds_; }
  Zel::Dir& pins() const noexcept { return *pins_; }
  Zel::Ptr<Warden::CAgent> const& agent() const noexcept { return agent_; }
  // Destroys the agent now, rather than parking it at the end of the session; for callers that
  // know its destructor can run (every published mapping has been ready).
  void agentDel();

 private:
  void report(std::exception_ptr error);

  RaisedHandler onRaised_;
  Zel::ActivityManagerScope loop_;
  double startTime_;
  Zel::Ptr<Statedb::Database> database_;
  Zel::Ptr<Hardware::Gpio::GpioLedSystemConfigDir> mappings_;
  Zel::Ptr<Hardware::Led::LedSystemConfigDir> leds_;
  Zel::Ptr<Zel::Dir> pins_;
  Zel::Ptr<Statedb::EntityManager> entityManager_;
  Zel::Ptr<Warden::CAgent> agent_;
};

// The text of an exception as the host reports it.
std::string exceptionText(std::exception_ptr error);

}  // namespace Host
