#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "host/pins/PinDriver.h"
#include "platform/model/CorvelPinConfig.h"
#include "platform/zel/ActivityManagerScope.h"
#include "platform/zel/Allocate.h"
#include "platform/zel/Clock.h"
#include "tests/pins/RecordingLines.h"

namespace Drive {
namespace {

using Hardware::Gpio::CorvelPinConfig;

// Four pins: a and c on one chip, b on the same chip but active-low, d on a second chip.
constexpr char kMap[] = R"([[pin]]
name = "a"
backend = "gpiod"
chip = "gpiochip0"
line = 1
[[pin]]
name = "b"
backend = "gpiod"
chip = "gpiochip0"
line = "LINE2"
active_low = true
[[pin]]
name = "c"
backend = "gpiod"
chip = "gpiochip0"
line = 3
[[pin]]
name = "d"
backend = "gpiod"
chip = "gpiochip1"
line = 0
)";

class DriverTest : public testing::Test {
 protected:
  void SetUp() override { dir_ = Zel::Dir::dirIs("config"); }

  Zel::Ptr<CorvelPinConfig> pin(char const* name) {
    return Zel::ptrCast<CorvelPinConfig>(dir_->entryIs(name, "Hardware::Gpio::CorvelPinConfig"));
  }
  std::unique_ptr<PinDriver> start(std::string const& extra = "", bool partial = false) {
    DriverOptions options;
    options.partial = partial;
    options.gpioLines = linesOn(bench_);
    auto driver = std::make_unique<PinDriver>(
        parsePinMap(extra + kMap, "map.toml"), *dir_, *loop_,
        [this](std::string const& line) { log_.push_back(line); }, options);
    loop_->runPending();
    return driver;
  }

  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::virtualTime};
  Zel::Ptr<Zel::Dir> dir_;
  GpioBench bench_;
  std::vector<std::string> log_;
};

TEST_F(DriverTest, StartsLitAsThePinsStandWithOneRequestPerChipAndPolarity) {
  pin("a")->valueIs(1);
  pin("b");
  auto driver = start();
  ASSERT_EQ(bench_.requests.size(), 3u);
  EXPECT_EQ(bench_.requests[0].offsets, (std::vector<unsigned>{1, 3}));
  EXPECT_EQ(bench_.requests[0].logical, (std::vector<int>{1, 0}));
  EXPECT_TRUE(bench_.requests[1].activeLow);
  EXPECT_EQ(bench_.requests[2].chip, "gpiochip1");
  EXPECT_EQ(bench_.level("gpiochip0", 2), 1);  // dark on an active-low line is high
  EXPECT_TRUE(bench_.bulkWrites.empty());      // the request itself set the values
  EXPECT_TRUE(log_.empty());
}

TEST_F(DriverTest, WritesOnlyFinalChangesOnceATurnAndInvertsActiveLow) {
  auto a = pin("a"), b = pin("b"), c = pin("c"), d = pin("d");
  auto driver = start();
  a->valueIs(1);
  a->valueIs(0);  // what the agent does to a colour that stays lit
  a->valueIs(1);
  c->valueIs(1);
  c->valueIs(0);
  loop_->runPending();
  ASSERT_EQ(bench_.bulkWrites, (std::vector<std::size_t>{0}));
  EXPECT_EQ(bench_.requests[0].logical, (std::vector<int>{1, 0}));

  b->valueIs(1);
  a->valueIs(1);
  loop_->runPending();
  EXPECT_EQ(bench_.bulkWrites, (std::vector<std::size_t>{0, 1}));
  EXPECT_EQ(bench_.level("gpiochip0", 2), 0);
  EXPECT_EQ(driver->find("b")->shown, true);
  EXPECT_EQ(driver->writeCount(), 2u);
}

TEST_F(DriverTest, LampTestLightsEverythingThenShowsWhatTheAgentShowsByThen) {
  auto a = pin("a"), d = pin("d");
  a->valueIs(1);
  auto driver = start();
  loop_->advance(5.0);  // the test runs for its length from when it is asked, not from the start
  driver->lampTest(2.0);
  loop_->runPending();
  for (unsigned line : {1u, 3u}) EXPECT_EQ(bench_.level("gpiochip0", line), 1);
  EXPECT_EQ(bench_.level("gpiochip0", 2), 0);  // lit, active-low
  std::size_t const writes = bench_.bulkWrites.size();
  loop_->advance(1.0);
  a->valueIs(0);  // the agent goes on meanwhile
  d->valueIs(1);
  loop_->advance(0.5);
  EXPECT_EQ(bench_.bulkWrites.size(), writes);
  loop_->advance(1.0);
  EXPECT_FALSE(driver->lampTestRunning());
  EXPECT_EQ(bench_.level("gpiochip0", 1), 0);
  EXPECT_EQ(bench_.level("gpiochip0", 2), 1);
  EXPECT_EQ(bench_.level("gpiochip0", 3), 0);
  EXPECT_EQ(bench_.level("gpiochip1", 0), 1);
  EXPECT_EQ(a->value(), 0u);  // the agent's configuration was never written
  EXPECT_EQ(driver->counters().lampTests, 1u);
}

// A refused start requests no line, so that the lines that are there keep what they show; only
// a line that is merely held elsewhere may be claimed by a later start.
TEST_F(DriverTest, APinThatCannotBeClaimedStopsTheStartOrIsReportedWithPartial) {
  bench_.busyLines.insert({"gpiochip0", 3});
  try {
    start();
    ADD_FAILURE() << "started";
  } catch (DriveError const& error) {
    EXPECT_TRUE(error.transient()) << error.what();
  }
  bench_.absentChips.insert("gpiochip1");
  try {
    start();
    ADD_FAILURE() << "started";
  } catch (DriveError const& error) {
    EXPECT_STREQ(error.what(),
                 "map.toml:12: pin 'c': line 3 of GPIO chip 'gpiochip0': Device or resource busy\n"
                 "map.toml:17: pin 'd': GPIO chip 'gpiochip1': No such file or directory");
    EXPECT_FALSE(error.transient());
  }
  EXPECT_THROW(PinDriver::check(parsePinMap(kMap, "map.toml"), {false, true, linesOn(bench_)}),
               DriveError);
  EXPECT_TRUE(bench_.requests.empty());
  auto a = pin("a"), c = pin("c");
  auto driver = start("", true);
  EXPECT_EQ(driver->missing().size(), 2u);
  EXPECT_EQ(log_.size(), 2u);
  a->valueIs(1);
  c->valueIs(1);
  loop_->runPending();
  EXPECT_EQ(bench_.level("gpiochip0", 1), 1);  // the rest is driven, the busy line untouched
  EXPECT_EQ(bench_.requests[0].offsets, (std::vector<unsigned>{1}));
}

// A line taken between the check and the claim refuses its whole request: each line is tried
// alone, the others are requested together again, and every request goes with the driver.
TEST_F(DriverTest, ALineTakenMeanwhileIsFoundAloneAndNoRequestOutlivesTheDriver) {
  bench_.takenMeanwhile.insert({"gpiochip0", 3});
  auto driver = start("", true);
  ASSERT_EQ(driver->missing().size(), 1u);
  EXPECT_NE(driver->missing()[0].find("pin 'c'"), std::string::npos) << driver->missing()[0];
  ASSERT_EQ(bench_.requests.size(), 4u);
  EXPECT_TRUE(bench_.requests[0].released);  // the lone try of line 1
  EXPECT_EQ(bench_.requests[1].offsets, (std::vector<unsigned>{1}));
  EXPECT_FALSE(bench_.requests[1].released);

  driver.reset();
  for (GpioBench::Request const& request : bench_.requests) EXPECT_TRUE(request.released);
}

TEST_F(DriverTest, AFailedWriteIsSaidOncePerKindAndRetriedAtTheNextChange) {
  auto a = pin("a"), b = pin("b"), d = pin("d");
  auto driver = start("on_stop = \"lit\"\n");
  pin("stray")->valueIs(1);
  pin("stray")->valueIs(0);
  bench_.failWrites = EIO;
  a->valueIs(1);
  loop_->runPending();
  a->valueIs(0);
  loop_->runPending();
  a->valueIs(1);
  loop_->runPending();
  ASSERT_EQ(log_.size(), 2u);
  EXPECT_EQ(log_[0], "pins: pin 'stray' is not in map.toml; it is not driven");
  EXPECT_EQ(log_[1], "pins: map.toml:2: pin 'a': GPIO write: Input/output error");
  EXPECT_EQ(driver->find("a")->error, "GPIO write: Input/output error");
  // Counted for monitoring per backend, every failure, not only the ones logged.
  auto const gpiod = static_cast<std::size_t>(Backend::gpiod);
  EXPECT_EQ(driver->counters().writeErrors[gpiod], 3u);
  EXPECT_EQ(driver->counters().writes[gpiod], driver->writeCount());
  EXPECT_EQ(driver->counters().writeErrors[static_cast<std::size_t>(Backend::file)], 0u);

  bench_.failWrites = 0;
  d->valueIs(1);  // a change elsewhere brings the failed pin along
  loop_->runPending();
  EXPECT_EQ(bench_.level("gpiochip0", 1), 1);
  EXPECT_EQ(bench_.level("gpiochip1", 0), 1);
  EXPECT_EQ(driver->find("a")->error, "");

  driver->stop();  // the stop pattern lights what is still dark
  EXPECT_EQ(bench_.level("gpiochip0", 2), 0);
  EXPECT_EQ(bench_.level("gpiochip0", 3), 1);
  b->valueIs(0);
  loop_->runPending();
  EXPECT_EQ(bench_.level("gpiochip0", 2), 0);
}

// A mapping or an LED that goes takes its pin configuration with it: nothing lights it any more.
TEST_F(DriverTest, APinWhoseEntryLeavesTheDirectoryIsDrivenDark) {
  pin("a")->valueIs(1);
  pin("d")->valueIs(1);
  auto driver = start();
  dir_->entryDel("a");
  loop_->runPending();
  EXPECT_EQ(bench_.level("gpiochip0", 1), 0);
  EXPECT_EQ(bench_.level("gpiochip1", 0), 1);
  EXPECT_EQ(driver->find("a")->shown, false);
}

// Two LEDs share pin a and flash in step: at one instant the first one's timer writes the pin
// dark and the second one's lights it again, each a piece of work of its own. The latch waits
// for the end of the turn, so the line that stays lit is not written at all.
TEST_F(DriverTest, APinWrittenDarkAndLitAgainByTwoExpiriesOfOneInstantIsNotWritten) {
  class Flash : public Zel::Clock::NotifieeConst {
   public:
    Flash(Zel::Ptr<CorvelPinConfig> pin, std::vector<std::uint32_t> values)
        : pin_(std::move(pin)), values_(std::move(values)) {}
    void onTime() override {
      for (std::uint32_t value : values_) pin_->valueIs(value);
    }

   private:
    Zel::Ptr<CorvelPinConfig> pin_;
    std::vector<std::uint32_t> values_;
  };
  auto a = pin("a");
  a->valueIs(1);
  auto driver = start();
  auto goingDark = Zel::allocate<Flash>(a, std::vector<std::uint32_t>{0});
  auto goingLit = Zel::allocate<Flash>(a, std::vector<std::uint32_t>{0, 1});
  for (auto const& flash : {goingDark, goingLit}) {
    flash->notifierIs(loop_->clock());
    flash->timeMinIs(1.0);
  }
  loop_->advance(2.0);
  EXPECT_TRUE(bench_.bulkWrites.empty());
  EXPECT_EQ(bench_.level("gpiochip0", 1), 1);

  goingDark->timeMinIs(3.0);  // alone, the same work does reach the line
  loop_->advance(2.0);
  EXPECT_EQ(bench_.bulkWrites.size(), 1u);
  EXPECT_EQ(bench_.level("gpiochip0", 1), 0);
}

TEST_F(DriverTest, MoreLinesThanOneRequestHoldsAreSplitAcrossRequests) {
  std::string map;
  for (int i = 0; i < 70; ++i) {
    map += "[[pin]]\nname = \"p" + std::to_string(i) +
           "\"\nbackend = \"gpiod\"\nchip = \"big\"\nline = " + std::to_string(i) + "\n";
  }
  DriverOptions options;
  options.gpioLines = linesOn(bench_);
  PinDriver driver(
      parsePinMap(map, "big.toml"), *dir_, *loop_, [](std::string const&) {}, options);
  ASSERT_EQ(bench_.requests.size(), 2u);
  EXPECT_EQ(bench_.requests[0].offsets.size(), 64u);
  EXPECT_EQ(bench_.requests[1].offsets.size(), 6u);
}

}  // namespace
}  // namespace Drive
