#include "platform/zel/AllocTrack.h"
#include "tests/statemachine/LedFixture.h"

namespace PinlampTest {
namespace {

using SteadySettingTest = LedFixture;

struct BehaviourRow {
  char const* name;
  Led::LightSetting setting;
  std::string pinsNow;
  double wakeUpIn;  // from now; +infinity when the timer stays disarmed
  std::string pinsAfterOneInterval;
  std::string pinsAfterTwoIntervals;
};

// Every row starts from all four colours lit, so a colour that should go dark and does not, or
// pins written when they should be left alone, show up.
TEST_F(SteadySettingTest, EachSettingDrivesThePinsAsTheBehaviourTableSays) {
  double const never = Zel::Clock::kNever;
  BehaviourRow const rows[] = {
      {"off", lit(""), "0000", never, "0000", "0000"},
      {"yellow", lit("y"), "1000", never, "1000", "1000"},
      {"green", lit("g"), "0100", never, "0100", "0100"},
      {"red", lit("r"), "0010", never, "0010", "0010"},
      {"orange", lit("o"), "0001", never, "0001", "0001"},
      {"yellow and red", lit("yr"), "1010", never, "1010", "1010"},
      {"green and orange", lit("go"), "0101", never, "0101", "0101"},
      {"flashing green and red", lit("gr", 0.5), "1111", 0.5, "0110", "0000"},
  };
  for (BehaviourRow const& row : rows) {
    SCOPED_TRACE(row.name);
    show(lit("ygro"));
    Ptr<GpioLedStateMachine> machine = this->machine();
    ASSERT_EQ(pins(), "1111");

    show(row.setting);
    EXPECT_EQ(pins(), row.pinsNow);
    EXPECT_EQ(machine->clockReactor()->timeMin(), Zel::System::currentTime() + row.wakeUpIn);
    loop_->advance(0.5);
    EXPECT_EQ(pins(), row.pinsAfterOneInterval);
    loop_->advance(0.5);
    EXPECT_EQ(pins(), row.pinsAfterTwoIntervals);
  }
}

TEST_F(SteadySettingTest, ConstructionInitialisesAndAppliesTheCurrentSetting) {
  show(lit("g"));
  Ptr<GpioLedStateMachine> machine = this->machine();
  EXPECT_TRUE(machine->initialized());
  EXPECT_FALSE(machine->flashingState());
  EXPECT_EQ(machine->name(), Zel::Name("Led1"));
  EXPECT_EQ(machine->clock(), loop_->clock());
  EXPECT_EQ(machine->clockReactor()->timeMin(), Zel::Clock::kNever);
  EXPECT_EQ(pins(), "0100");
  EXPECT_EQ(traces(6),
            (Texts{"handleInitialized for Led1", "Corvel Green Pin: G1  OldValue: 0 NewValue: 1"}));
}

TEST_F(SteadySettingTest, EveryColourGoesDarkBeforeTheLitOnesComeOn) {
  show(lit("g"));
  Ptr<GpioLedStateMachine> machine = this->machine();
  sink_.clear();

  show(lit("gr"));
  EXPECT_EQ(pins(), "0110");
  EXPECT_EQ(traces(7), Texts{"handleHwLedConfig Led1"});
  EXPECT_EQ(traces(8), Texts{"handleLedSystemConfig Led1 [green+red steady]Config: ledSystem"});
  EXPECT_EQ(traces(9), (Texts{"handleCorvelGpioYellow Led1", "handleCorvelGpioGreen Led1",
                              "handleCorvelGpioRed Led1", "handleCorvelGpioOrange Led1",
                              "handleCorvelGpioGreen Led1", "handleCorvelGpioRed Led1"}));
  // Green stays lit but really goes through dark: two changes, both published and traced.
  EXPECT_EQ(traces(6), (Texts{"Corvel Green Pin: G1  OldValue: 1 NewValue: 0",
                              "Corvel Green Pin: G1  OldValue: 0 NewValue: 1",
                              "Corvel Red Pin: R1  OldValue: 0 NewValue: 1"}));
}

TEST_F(SteadySettingTest, NothingIsAppliedBeforeInitialisation) {
  show(lit("g"));
  Ptr<GpioLedStateMachine> machine = this->machine();
  machine->initializedIs(false);
  sink_.clear();

  show(lit("r"));
  machine->handleLedSystemConfig("Led1", lit("y"));
  EXPECT_EQ(pins(), "0100");
  EXPECT_TRUE(sink_.records().empty());
}

TEST_F(SteadySettingTest, MachineWithoutLedConfigurationWaitsForOne) {
  show(lit("g"));
  Ptr<GpioLedStateMachine> machine = Pinlamp::GpioLedStateMachineIs(led_, nullptr);
  EXPECT_TRUE(machine->initialized());
  EXPECT_EQ(machine->clock(), loop_->clock());
  EXPECT_EQ(machine->clockReactor()->timeMin(), Zel::Clock::kNever);
  EXPECT_EQ(machine->name(), Zel::Name());
  EXPECT_EQ(pins(), "0000");

  // Watching a configuration applies nothing by itself; its next change does.
  machine->hwLedConfigIs(config_);
  loop_->runPending();
  EXPECT_EQ(pins(), "0000");
  show(lit("r"));
  EXPECT_EQ(pins(), "0010");

  EXPECT_EQ(machine->hwLedConfigDel(), config_);
  show(lit("y"));
  EXPECT_EQ(pins(), "0010");
}

// Neither of a machine's hooks, the setting and the clock, runs while it is silenced or retired.
TEST_F(SteadySettingTest, SilencedOrRetiredMachineReactsToNothing) {
  show(lit("g"));
  Ptr<GpioLedStateMachine> machine = this->machine();
  show(lit("y", 0.5));  // the first tick, due at 0.5, would light yellow
  machine->hasNotificationActiveIs(false);
  show(lit("r"));
  advanceTo(0.5);
  EXPECT_EQ(pins(), "0100");
  EXPECT_FALSE(machine->flashingState());

  machine->hasNotificationActiveIs(true);
  show(lit("y", 0.5));
  EXPECT_NE(machine->clockReactor()->timeMin(), Zel::Clock::kNever);
  machine->zelDoZombieReactors(true);
  show(lit("o"));
  advanceTo(2.0);
  EXPECT_EQ(pins(), "0100");
  EXPECT_FALSE(machine->flashingState());
}

TEST_F(SteadySettingTest, PublishingTheCurrentSettingAgainChangesNothing) {
  for (Led::LightSetting const& setting : {lit("g"), lit("r", 0.5)}) {
    show(setting);
    Ptr<GpioLedStateMachine> machine = this->machine();
    std::string const pinsBefore = pins();
    double const tickBefore = machine->clockReactor()->timeMin();
    sink_.clear();
    show(Led::LightSetting(setting));
    EXPECT_EQ(traces(6), Texts{});  // no pin written
    EXPECT_EQ(traces(8), Texts{});  // no setting applied
    EXPECT_EQ(pins(), pinsBefore);
    EXPECT_EQ(machine->clockReactor()->timeMin(), tickBefore);
  }
}

TEST_F(SteadySettingTest, SteadySettingWithoutOutputConfigurationIsDropped) {
  show(lit("g"));
  Ptr<GpioLedStateMachine> machine = Pinlamp::GpioLedStateMachineIs(nullptr, config_);
  EXPECT_EQ(traces(8), Texts{"handleLedSystemConfig  [green steady]Config: (null)"});
  EXPECT_EQ(pins(), "0000");
}

TEST_F(SteadySettingTest, DroppingTheMachineLeavesItsPinsAndFreesItsReactors) {
  auto& machines = Zel::AllocTrackTypeInfo::of<GpioLedStateMachine>();
  auto& ledReactors = Zel::AllocTrackTypeInfo::of<GpioLedStateMachine::ZelHwLedConfig>();
  auto& clockReactors = Zel::AllocTrackTypeInfo::of<GpioLedStateMachine::ZelClock>();
  std::int64_t const before[] = {machines.live(), ledReactors.live(), clockReactors.live()};

  show(lit("r", 0.5));
  Ptr<GpioLedStateMachine> machine = this->machine();
  EXPECT_EQ(machines.live(), before[0] + 1);
  EXPECT_EQ(ledReactors.live(), before[1] + 1);
  EXPECT_EQ(clockReactors.live(), before[2] + 1);
  loop_->advance(0.5);
  ASSERT_EQ(pins(), "0010");

  machine = nullptr;
  loop_->advance(5.0);
  EXPECT_EQ(pins(), "0010");
  EXPECT_EQ(loop_->clock()->armedCount(), 0u);
  EXPECT_EQ(machines.live(), before[0]);
  EXPECT_EQ(ledReactors.live(), before[1]);
  EXPECT_EQ(clockReactors.live(), before[2]);
}

}  // namespace
}  // namespace PinlampTest
