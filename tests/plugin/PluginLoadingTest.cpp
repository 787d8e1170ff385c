// How a host finds and creates the agent: loading the library, looking its factory up by name,
// and the type registrations that loading performs. Which symbols it exports is checked against
// exported-symbols.txt.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "agent/AgentFactory.h"
#include "platform/zel/AllocTrack.h"
#include "platform/zel/TypeNode.h"

namespace PinlampTest {
namespace {

using CFactory = Warden::CAgent* (*)(char const*);

// Agents alive now, as the platform's allocation tracker counts them.
std::int64_t liveAgents() {
  for (Zel::AllocTrackTypeInfo const* info : Zel::AllocTrackTypeInfo::all()) {
    if (info->typeName() == "Pinlamp::Agent") return info->live();
  }
  return 0;
}

class LibraryHandle {
 public:
  LibraryHandle() : handle_(dlopen(PINLAMP_AGENT_LIBRARY, RTLD_NOW)) {}
  ~LibraryHandle() {
    if (handle_) dlclose(handle_);
  }
  void* get() const { return handle_; }

 private:
  void* handle_;
};

TEST(AgentLoadingTest, HostFindsTheCFactoryByItsPlainNameAndOwnsTheAgentItReturns) {
  LibraryHandle library;
  ASSERT_NE(library.get(), nullptr) << dlerror();
  auto const factory = reinterpret_cast<CFactory>(dlsym(library.get(), "wardenAgentFactory"));
  ASSERT_NE(factory, nullptr) << dlerror();

  {
    // The returned reference is the caller's: adopting it must not leave one behind.
    auto agent = Zel::Ptr<Warden::CAgent>::adopt(factory("fromHost"));
    ASSERT_NE(agent, nullptr);
    EXPECT_EQ(agent->references(), 1u);
    EXPECT_EQ(agent->name(), Zel::Name("fromHost"));
    EXPECT_EQ(agent->fwkType()->name(), Zel::String("Pinlamp::Agent"));
    EXPECT_EQ(liveAgents(), 1);
  }
  EXPECT_EQ(liveAgents(), 0);
}

TEST(AgentLoadingTest, LoadingRegistersTheReactorTheAgentAndTheStateMachineInThatOrder) {
  LibraryHandle library;
  ASSERT_NE(library.get(), nullptr) << dlerror();
  std::vector<std::string> names;
  for (Zel::TypeNode const* node : Zel::typeNodes()) names.push_back(node->name().stdString());
  std::vector<std::string> const expected = {"Pinlamp::ConfigReactor", "Pinlamp::Agent",
                                             "Pinlamp::GpioLedStateMachine"};
  EXPECT_NE(std::search(names.begin(), names.end(), expected.begin(), expected.end()), names.end())
      << testing::PrintToString(names);
  // The registration makes an agent under the name it is given.
  auto const agent =
      Zel::ptrCast<Warden::CAgent>(Zel::newEntity("Pinlamp::Agent", "byType", nullptr));
  ASSERT_NE(agent, nullptr);
  EXPECT_EQ(agent->name(), Zel::Name("byType"));
}

}  // namespace
}  // namespace PinlampTest
