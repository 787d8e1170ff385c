// How a host finds and creates the agent: loading the library, looking its factories up by name,
// and the type registrations that loading performs.
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

  std::int64_t const liveBefore = Zel::AllocTrackTypeInfo::of<Pinlamp::Agent>().live();
  {
    // The returned reference is the caller's: adopting it must not leave one behind.
    auto agent = Zel::Ptr<Warden::CAgent>::adopt(factory("fromHost"));
    ASSERT_NE(agent, nullptr);
    EXPECT_EQ(agent->references(), 1u);
    EXPECT_EQ(agent->name(), Zel::Name("fromHost"));
    EXPECT_EQ(agent->fwkType()->name(), Zel::String("Pinlamp::Agent"));
    EXPECT_NE(dynamic_cast<Pinlamp::Agent*>(agent.ptr()), nullptr);
    EXPECT_EQ(Zel::AllocTrackTypeInfo::of<Pinlamp::Agent>().live(), liveBefore + 1);
  }
  EXPECT_EQ(Zel::AllocTrackTypeInfo::of<Pinlamp::Agent>().live(), liveBefore);
}

TEST(AgentLoadingTest, TheCxxFactoryIsExportedUnderItsMangledName) {
  LibraryHandle library;
  ASSERT_NE(library.get(), nullptr) << dlerror();
  void* const symbol = dlsym(library.get(), "_ZN7Pinlamp12agentFactoryEN3Zel4NameE");
  if (!symbol) GTEST_SKIP() << "the C++ factory is not visible by name on this tool chain";
  Zel::Ptr<Pinlamp::Agent> agent = reinterpret_cast<CxxFactory>(symbol)("viaSymbol");
  ASSERT_NE(agent, nullptr);
  EXPECT_EQ(agent->name(), Zel::Name("viaSymbol"));
}

TEST(AgentLoadingTest, LoadingRegistersTheReactorTheAgentAndTheStateMachineInThatOrder) {
  std::vector<std::string> names;
  for (Zel::TypeNode const* node : Zel::typeNodes()) names.push_back(node->name().stdString());
  std::vector<std::string> const expected = {"Pinlamp::ConfigReactor", "Pinlamp::Agent",
                                             "Pinlamp::GpioLedStateMachine"};
  EXPECT_NE(std::search(names.begin(), names.end(), expected.begin(), expected.end()), names.end())
      << testing::PrintToString(names);
  EXPECT_EQ(Zel::typeNode("Pinlamp::Agent"), &Pinlamp::Agent::type());
}

}  // namespace
}  // namespace PinlampTest
