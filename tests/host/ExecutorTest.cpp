#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/script/Executor.h"
#include "platform/model/CorvelPinConfig.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Exception.h"

namespace Host {
namespace {

Zel::TraceHandle const& echoTrace() {
  static Zel::TraceHandle const handle(kAgentTraceFacility, false);
  return handle;
}

// An agent that reacts to LED configuration just enough to exercise the host: it traces what it
// sees, lights a pin named after the LED while the LED is lit, and raises for an LED named
// "boom".
class EchoAgent : public Warden::CAgent {
 public:
  using Warden::CAgent::CAgent;

  void doInit() override {
    ZEL_TRACE(echoTrace(), 3, "Echo", 1, "doInit", "doInit");
    auto group = entityManager()->getMountGroup(Zel::Ptr<Statedb::Mounter>(this));
    group->doMount(Statedb::Mount(kLedConfigPath, "Hardware::Led::LedSystemConfigDir", "r"));
    group->doMount(Statedb::Mount(kPinPath, "Zel::Dir", "wi"));
    group->doClose(false, "", 0.0);
  }

  void doMountsComplete(Statedb::MountStatus,
                        Zel::Ptr<Statedb::EntityManager> const& manager) override {
    leds_ = Zel::ptrCast<Hardware::Led::LedSystemConfigDir>(manager->getEntity(kLedConfigPath));
    pins_ = Zel::ptrCast<Zel::Dir>(manager->getEntity(kPinPath));
    reactor_ = Zel::allocate<Reactor>(leds_, this);
  }

 protected:
  ~EchoAgent() override {
    if (reactor_) reactor_->notifierIs(nullptr);
  }

 private:
  class Reactor : public Hardware::Led::LedSystemConfigDir::NotifieeConst {
   public:
    Reactor(Zel::Ptr<Hardware::Led::LedSystemConfigDir const> const& dir, EchoAgent* owner)
        : NotifieeConst(dir), owner_(owner) {}
    using NotifieeConst::onLeds;
    void onLeds(Zel::Name name) override { owner_->onLed(name); }

   private:
    EchoAgent* owner_;
  };

  void onLed(Zel::Name const& name) {
    ZEL_TRACE(echoTrace(), 6, "Echo", 2, "onLed", "saw " << name);
    if (name == Zel::Name("boom")) Zel::throwRangeException("boom: refused");
    auto led = leds_->leds(name);
    auto pin = Zel::ptrCast<Hardware::Gpio::CorvelPinConfig>(
        pins_->entryIs(Zel::Name(name.stdString() + "_pin"), "Hardware::Gpio::CorvelPinConfig"));
    pin->valueIs(led && !led->lightSetting().isDark() ? 1 : 0);
    ZEL_TRACE(echoTrace(), 6, "Echo", 3, "onLed", "wrote " << name);
  }

  Zel::Ptr<Hardware::Led::LedSystemConfigDir> leds_;
  Zel::Ptr<Zel::Dir> pins_;
  Zel::Ptr<Reactor> reactor_;
};

// Runs a script against the echo agent and keeps what the host reported.
class ScriptRun {
 public:
  explicit ScriptRun(std::string const& text) {
    Zel::traceSinkIs(&traces_);
    std::istringstream in(text);
    Script const script = parseScript("t.warden", in);
    EXPECT_TRUE(script.errors.empty());
    traces_.recordedLevelsIs(expectedTraceLevels(script));
    executor_ =
        std::make_unique<Executor>(Executor::Settings{}, traces_, out_,
                                   [this](SourceLocation const& where, std::string const& what) {
                                     failures_.push_back(where.text() + ": " + what);
                                   });
    executor_->startAgent(
        [](std::string const& name) { return Zel::allocate<EchoAgent>(Zel::Name(name)); }, "echo",
        "t.warden");
    for (ScriptLine const& line : script.lines) {
      if (!executor_->execute(line)) break;
    }
    executor_->finish();
  }

  ~ScriptRun() {
    executor_.reset();
    traces_.reset();
    Zel::traceSinkIs(nullptr);
  }

  std::vector<std::string> const& failures() const { return failures_; }
  std::string output() const { return out_.str(); }

 private:
  std::ostringstream out_;
  std::ostringstream traceOut_;
  TraceCollector traces_{kAgentTraceFacility, traceOut_};
  std::vector<std::string> failures_;
  std::unique_ptr<Executor> executor_;
};

// Failures that name the records a command did leave, or that no record was left at a level. A
// trace belongs to the last command that was not an expectation; start-up traces to none.
TEST(ExecutorTest, ATraceFailureSaysWhatTheCommandDidTrace) {
  ScriptRun const run(
      "set led A green\n"
      "set led B green\n"
      "expect trace 6 \"saw A\"\n"
      "expect trace 3 \"doInit\"\n"
      "expect no trace 6 \"saw B\"\n");
  EXPECT_EQ(run.failures(),
            (std::vector<std::string>{
                "t.warden:3: expected trace 6 \"saw A\" from the command at line 2; found at "
                "level 6: \"saw B\", \"wrote B\"",
                "t.warden:4: expected trace 3 \"doInit\" from the command at line 2; found "
                "nothing at level 3",
                "t.warden:5: expected no trace 6 \"saw B\" from the command at line 2",
            }));
}

// An unchecked raise fails the run at the command that raised it, also as the script's last one.
TEST(ExecutorTest, AnUncheckedRaiseFailsAtItsCommand) {
  ScriptRun const run(
      "set led boom red\n"
      "set led A green\n"
      "remove led boom\n");
  EXPECT_EQ(run.failures(),
            (std::vector<std::string>{
                "t.warden:1: the command at line 1 made the agent raise \"boom: refused\" and "
                "no 'expect raised' checks it",
                "t.warden:3: the command at line 3 made the agent raise \"boom: refused\" and "
                "no 'expect raised' checks it",
            }));
}

TEST(ExecutorTest, ShowReportsPinsAndLedsAsThePinsShowThem) {
  ScriptRun const run(
      "set mapping A green=A_pin red=R\n"
      "set led A green\n"
      "set led C green\n"
      "show pins\n"
      "show leds\n");
  EXPECT_EQ(run.output(), "pin A_pin 1\npin C_pin 1\nled A green\n");
  EXPECT_EQ(run.failures(), std::vector<std::string>{});
}

// The echo agent publishes no state machines to look at: whether warden is built with the generic
// interface or without it, the question fails with a reason instead of being answered with a guess.
TEST(ExecutorTest, AMachineThatCannotBeLookedForIsAFailureNotAGuess) {
  ScriptRun const run(
      "set led A green\n"
      "expect machine A\n"
      "expect no machine A\n");
  ASSERT_EQ(run.failures().size(), 2u);
  EXPECT_EQ(run.failures()[0].rfind("t.warden:2: ", 0), 0u);
  EXPECT_EQ(run.failures()[1].rfind("t.warden:3: ", 0), 0u);
}

}  // namespace
}  // namespace Host
