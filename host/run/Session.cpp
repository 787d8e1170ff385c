#include "host/run/Session.h"

#include <vector>

#include <exception>
#include <stdexcept>
#include <utility>

namespace Host {

namespace {

template <class T>
Zel::Ptr<T> publishedDirectory(Statedb::Database& database, char const* path,
                               char const* typeName) {
  Zel::Ptr<T> dir = Zel::ptrCast<T>(database.entityIs(path, typeName));
  if (!dir) throw std::logic_error(std::string("cannot create ") + path + " as " + typeName);
  return dir;
}

}  // namespace

std::string exceptionText(std::exception_ptr error) {
  try {
    std::rethrow_exception(std::move(error));
  } catch (std::exception const& e) {
    return e.what();
  } catch (...) {
    return "an exception that is not a std::exception";
  }
}

Session::Session(Zel::ActivityManager::TimeSource timeSource, RaisedHandler onRaised)
    : onRaised_(std::move(onRaised)), loop_(timeSource), startTime_(loop_->currentTime()) {
  loop_->exceptionHandlerIs([this](std::exception_ptr error) { report(std::move(error)); });
  database_ = Statedb::Database::databaseIs();
  // The host plays the agents that publish the inputs, so the input directories exist before
  // the agent mounts them; the pin directory exists so that the host can watch it from the start.
  mappings_ = publishedDirectory<Hardware::Gpio::GpioLedSystemConfigDir>(
      *database_, kMappingPath, "Hardware::Gpio::GpioLedSystemConfigDir");
  leds_ = publishedDirectory<Hardware::Led::LedSystemConfigDir>(
      *database_, kLedConfigPath, "Hardware::Led::LedSystemConfigDir");
  pins_ = publishedDirectory<Zel::Dir>(*database_, kPinPath, "Zel::Dir");
  entityManager_ = Statedb::EntityManager::entityManagerIs(database_);
}

namespace {
// Agents whose session has ended. A session's end is the end of an agent process, and an agent
// process ends without tearing its agent down: an agent's destructor may legitimately refuse to
// run in some states (one that follows a mapping that never became ready stops the process), and
// a host must not turn every such session into a crash. The agents stay parked, inert, until the
// host exits.
std::vector<Zel::Ptr<Warden::CAgent>>& parkedAgents() {
  static auto* parked = new std::vector<Zel::Ptr<Warden::CAgent>>;
  return *parked;
}
}  // namespace

Session::~Session() {
  if (agent_) parkedAgents().push_back(std::move(agent_));
  guarded([this] { loop_->runPending(); });
  entityManager_ = nullptr;
  loop_->exceptionHandlerIs(nullptr);
}

void Session::agentDel() {
  guarded([this] { agent_ = nullptr; });
  settle();
}

void Session::startAgent(AgentFactory const& factory, std::string const& name) {
  agent_ = factory(name);
  Zel::Ptr<Warden::CAgent> agent = agent_;
  guarded([&] {
    agent->entityManagerIs(entityManager_);
    agent->doInit();
  });
  settle();
}

void Session::guarded(std::function<void()> const& action) {
  try {
    action();
  } catch (...) {
    report(std::current_exception());
  }
}

void Session::settle() {
  guarded([this] { loop_->runPending(); });
}

void Session::wait(double seconds) {
  guarded([&] {
    if (isLive()) {
      loop_->runFor(seconds);
    } else {
      loop_->advance(seconds);
    }
  });
}

double Session::elapsed() const noexcept {
  return loop_->currentTime() - startTime_;
}

bool Session::isLive() const noexcept {
  return loop_->timeSource() == Zel::ActivityManager::TimeSource::monotonic;
}

void Session::report(std::exception_ptr error) {
  if (onRaised_) onRaised_(exceptionText(std::move(error)));
}

}  // namespace Host
