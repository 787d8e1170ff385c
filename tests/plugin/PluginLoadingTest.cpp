// How a host finds and creates the agent: loading the library, looking its factories up by name,
// the type registrations that loading performs, and that nothing else of the agent is exported.
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
using CxxFactory = Zel::Ptr<Pinlamp::Agent> (*)(Zel::Name);

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

TEST(AgentLoadingTest, TheCxxFactoryIsExportedUnderItsMangledName) {
  LibraryHandle library;
  ASSERT_NE(library.get(), nullptr) << dlerror();
  void* const symbol = dlsym(library.get(), "_ZN7Pinlamp12agentFactoryEN3Zel4NameE");
  ASSERT_NE(symbol, nullptr) << dlerror();
  Zel::Ptr<Pinlamp::Agent> agent = reinterpret_cast<CxxFactory>(symbol)("viaSymbol");
  ASSERT_NE(agent, nullptr);
  EXPECT_EQ(agent->name(), Zel::Name("viaSymbol"));
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
  EXPECT_NE(Zel::typeNode("Pinlamp::Agent"), nullptr);
}

TEST(AgentLoadingTest, ExportsItsEntryPointsAndUtilitiesButNotTheAgentsInternals) {
  LibraryHandle library;
  ASSERT_NE(library.get(), nullptr) << dlerror();
  for (char const* exported :
       {"wardenAgentFactory", "_ZN7Pinlamp15newEntityForDirERKN3Zel4NameEPNS0_3DirE",
        "_ZN8Lampwise11ledToDeviceEN3Zel4NameE"}) {
    EXPECT_NE(dlsym(library.get(), exported), nullptr) << exported;
  }
  // The agent's type description and its reactor's handlers are reached through the type
  // registry and the factory, never by name.
  for (char const* internal : {"_ZN7Pinlamp5Agent4typeEv", "_ZN7Pinlamp5Agent6doInitEv"}) {
    EXPECT_EQ(dlsym(library.get(), internal), nullptr) << internal;
  }
}

}  // namespace
}  // namespace PinlampTest
