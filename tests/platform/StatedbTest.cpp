#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/statedb/Database.h"
#include "platform/statedb/EntityManager.h"
#include "platform/warden/CAgent.h"
#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/AllocTrack.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Exception.h"
#include "platform/zel/Trace.h"

namespace {

using Statedb::Mount;
using Statedb::MountStatus;
using Zel::Ptr;

// An entity that is not a directory.
class Leaf : public Zel::Entity {
 public:
  explicit Leaf(Zel::Name name) : Zel::Entity(std::move(name)) {}
};

// Records each completion.
class RecordingAgent : public Warden::CAgent {
 public:
  explicit RecordingAgent(Zel::Name name) : Warden::CAgent(std::move(name)) {}
  void doMountsComplete(MountStatus status,
                        Ptr<Statedb::EntityManager> const& entityManager) override {
    completions.push_back(status);
    CAgent::doMountsComplete(status, entityManager);
  }
  std::vector<MountStatus> completions;
};

class StatedbTest : public testing::Test {
 protected:
  void SetUp() override { Zel::traceSinkIs(&sink_); }
  void TearDown() override { Zel::traceSinkIs(nullptr); }

  // An agent whose mount group holds `mounts` and has been closed.
  Ptr<RecordingAgent> agentMounting(std::vector<Mount> const& mounts) {
    Ptr<RecordingAgent> agent = Zel::allocate<RecordingAgent>("agent");
    agent->entityManagerIs(manager_);
    Ptr<Statedb::MountGroup> group = manager_->getMountGroup(agent);
    for (Mount const& mount : mounts) group->doMount(mount);
    group->doClose(false, "", 0.0);
    return agent;
  }

  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::virtualTime};
  Zel::CapturingTraceSink sink_;
  Ptr<Statedb::Database> database_ = Statedb::Database::databaseIs();
  Ptr<Statedb::EntityManager> manager_ = Statedb::EntityManager::entityManagerIs(database_);
};

TEST_F(StatedbTest, NestedPathsMakeDirectoriesOnTheWayDown) {
  Ptr<Zel::Entity> config = database_->entityIs("hardware/led/config", "Zel::Dir");
  ASSERT_TRUE(config);
  EXPECT_TRUE(Zel::ptrCast<Zel::Dir>(database_->entity("hardware/led")));
  EXPECT_EQ(database_->entity("hardware/led/config"), config);
  EXPECT_EQ(database_->entity("/hardware//led/config/"), config);
  EXPECT_EQ(database_->entityIs("hardware/led/config", "Zel::Dir"), config);
  EXPECT_EQ(config->fullName(), "hardware/led/config");

  EXPECT_EQ(database_->entityDel("hardware/led/config"), config);
  EXPECT_EQ(database_->entity("hardware/led/config"), nullptr);
  EXPECT_EQ(config->parent(), nullptr);
  EXPECT_EQ(database_->entityDel("hardware/led/config"), nullptr);
  EXPECT_EQ(database_->entityDel("nowhere/at/all"), nullptr);

  // A top-level entity has the root for its directory.
  Ptr<Zel::Entity> const top = database_->entity("hardware");
  EXPECT_EQ(database_->entityDel("/hardware"), top);
  EXPECT_EQ(database_->entity("hardware/led"), nullptr);
}

TEST_F(StatedbTest, RejectsPathsThroughNonDirectoriesAndMisnamedEntities) {
  database_->entityIs("hardware/leaf", Zel::allocate<Leaf>("leaf"));
  EXPECT_THROW(database_->entityIs("hardware/leaf/x", "Zel::Dir"), Zel::RangeException);
  EXPECT_EQ(database_->entity("hardware/leaf/x"), nullptr);
  EXPECT_THROW(database_->entityIs("hardware/other", Zel::allocate<Leaf>("leaf")),
               Zel::RangeException);
  EXPECT_THROW(database_->entityIs("", "Zel::Dir"), Zel::RangeException);
  EXPECT_THROW(database_->entityIs("hardware/x", "No::Such"), Zel::RangeException);
}

TEST_F(StatedbTest, UnmountedPathsAreNullNotErrors) {
  Ptr<Zel::Entity> published = database_->entityIs("hardware/led/config", "Zel::Dir");
  database_->entityIs("hardware/ledx", "Zel::Dir");
  EXPECT_EQ(manager_->getEntity("hardware/led/config"), nullptr);

  Ptr<RecordingAgent> agent = agentMounting({Mount("hardware/led", "Zel::Dir", "r")});
  loop_->runPending();
  EXPECT_TRUE(manager_->getEntity("hardware/led"));
  EXPECT_EQ(manager_->getEntity("hardware/led/config"), published);  // mounting keeps it
  EXPECT_EQ(manager_->getEntity("hardware/ledx"), nullptr);
  EXPECT_EQ(manager_->getEntity("hardware"), nullptr);
  EXPECT_EQ(manager_->getEntity("hardware/led/none"), nullptr);
  EXPECT_EQ(manager_->getEntity(""), nullptr);
}

TEST_F(StatedbTest, MountsAreListedInDeclarationOrderWithTheirModes) {
  std::vector<Mount> const first = {Mount("hardware/gpio/config/led", "Zel::Dir", "r"),
                                    Mount("hardware/corvel/gpio/config", "Zel::Dir", "wi"),
                                    Mount("hardware/led/config", "Zel::Dir", "r")};
  Ptr<RecordingAgent> agent = agentMounting(first);
  loop_->runPending();
  Ptr<RecordingAgent> another = agentMounting({Mount("environment/cooling", "Zel::Dir", "r")});
  loop_->runPending();

  std::vector<Mount> expected = first;
  expected.push_back(Mount("environment/cooling", "Zel::Dir", "r"));
  EXPECT_EQ(manager_->mounts(), expected);
  EXPECT_FALSE(manager_->mounts()[0].isWritable());
  EXPECT_TRUE(manager_->mounts()[1].isWritable());
}

struct FailureCase {
  char const* failurePath;
  MountStatus expected;
};

class MountFailureTest : public StatedbTest, public testing::WithParamInterface<FailureCase> {};

TEST_P(MountFailureTest, FailingPathFailsTheWholeGroup) {
  manager_->mountFailureIs(GetParam().failurePath);
  Ptr<RecordingAgent> agent = agentMounting({Mount("hardware/led/config", "Zel::Dir", "r"),
                                             Mount("hardware/gpio/config", "Zel::Dir", "r")});
  loop_->runPending();
  EXPECT_EQ(agent->completions, std::vector<MountStatus>{GetParam().expected});
  EXPECT_EQ(agent->mountStatus(), GetParam().expected);
  bool const succeeded = GetParam().expected == Statedb::mountSuccess_;
  EXPECT_EQ(manager_->mounts().size(), succeeded ? 2u : 0u);
  EXPECT_EQ(database_->entity("hardware/led/config") != nullptr, succeeded);
}

INSTANTIATE_TEST_SUITE_P(Paths, MountFailureTest,
                         testing::Values(FailureCase{"hardware/gpio/config",
                                                     Statedb::mountFailure_},
                                         FailureCase{"*", Statedb::mountFailure_},
                                         FailureCase{"hardware/gpio", Statedb::mountSuccess_},
                                         FailureCase{"", Statedb::mountSuccess_}));

TEST_F(StatedbTest, AnAgentReleasedWhileMountingStaysUntilTheOutcome) {
  auto& agents = Zel::AllocTrackTypeInfo::of<RecordingAgent>();
  auto const before = agents.live();
  agentMounting({Mount("hardware/led/config", "Zel::Dir", "r")});  // nobody keeps the agent
  EXPECT_EQ(agents.live(), before + 1);
  loop_->runPending();
  EXPECT_EQ(agents.live(), before);
  EXPECT_EQ(manager_->mounts().size(), 1u);
}

TEST_F(StatedbTest, AnAgentMovedToAnotherManagerIsNotToldOfTheOldGroup) {
  Ptr<RecordingAgent> agent = agentMounting({Mount("hardware/led/config", "Zel::Dir", "r")});
  agent->entityManagerIs(Statedb::EntityManager::entityManagerIs(database_));
  loop_->runPending();
  EXPECT_TRUE(agent->completions.empty());
  EXPECT_TRUE(manager_->mounts().empty());
}

}  // namespace
