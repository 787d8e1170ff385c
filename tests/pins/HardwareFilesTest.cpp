#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "host/pins/PinDriver.h"
#include "platform/model/CorvelPinConfig.h"
#include "platform/zel/ActivityManagerScope.h"
#include "tests/pins/RecordingLines.h"

namespace Drive {
namespace {

namespace fs = std::filesystem;
using Hardware::Gpio::CorvelPinConfig;

std::string contents(fs::path const& path) {
  std::ifstream in(path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void put(fs::path const& path, std::string const& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path) << text;
}

// A directory laid out like sysfs, with real files written by the backends.
class HardwareFilesTest : public testing::Test {
 protected:
  void SetUp() override {
    root_ = fs::temp_directory_path() /
            ("pinlamp-drive-" +
             std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::remove_all(root_);
    dir_ = Zel::Dir::dirIs("config");
  }
  void TearDown() override { fs::remove_all(root_); }

  Zel::Ptr<CorvelPinConfig> pin(char const* name) {
    return Zel::ptrCast<CorvelPinConfig>(dir_->entryIs(name, "Hardware::Gpio::CorvelPinConfig"));
  }
  std::unique_ptr<PinDriver> start(std::string const& map, bool partial = false) {
    put(root_ / "map.toml", map);
    DriverOptions options;
    options.partial = partial;
    options.gpioLines = linesOn(bench_);
    return std::make_unique<PinDriver>(
        loadPinMap((root_ / "map.toml").string()), *dir_, *loop_,
        [this](std::string const& line) { log_.push_back(line); }, options);
  }

  fs::path root_;
  Zel::ActivityManagerScope loop_{Zel::ActivityManager::TimeSource::virtualTime};
  Zel::Ptr<Zel::Dir> dir_;
  GpioBench bench_;
  std::vector<std::string> log_;
};

TEST_F(HardwareFilesTest, LedClassDevicesLoseTheirTriggerAndTakeBrightness) {
  fs::path const leds = root_ / "sys/class/leds";
  put(leds / "red/max_brightness", "255\n");
  put(leds / "red/trigger", "[heartbeat] none");
  put(leds / "red/brightness", "0\n");
  put(leds / "amber/trigger", "none");
  put(leds / "amber/brightness", "0\n");
  auto red = pin("red");
  red->valueIs(1);
  auto driver = start(R"(sysfs_root = "sys"
[[pin]]
name = "red"
backend = "led"
device = "red"
[[pin]]
name = "amber"
backend = "led"
device = "amber"
brightness = 7
[[pin]]
name = "blue"
backend = "led"
device = "blue"
)",
                      true);
  EXPECT_EQ(contents(leds / "red/trigger"), "none\n");
  EXPECT_EQ(contents(leds / "red/brightness"), "255\n");  // lit from the start
  ASSERT_EQ(driver->missing().size(), 1u);
  EXPECT_EQ(driver->missing()[0],
            (root_ / "map.toml").string() +
                ":11: pin 'blue': LED 'blue': max_brightness: No such file or directory");

  red->valueIs(0);
  pin("amber")->valueIs(1);
  pin("blue")->valueIs(1);
  loop_->runPending();
  EXPECT_EQ(contents(leds / "red/brightness"), "0\n");
  EXPECT_EQ(contents(leds / "amber/brightness"), "7\n");
}

// An LED of the map is missing, and a file's directory: the start is refused before the LED
// that is there loses its kernel trigger or its brightness, before the GPIO line is requested and
// the other file made.
TEST_F(HardwareFilesTest, ARefusedStartLeavesEveryPinAsItWas) {
  fs::path const red = root_ / "sys/class/leds/red";
  put(red / "max_brightness", "255\n");
  put(red / "trigger", "[heartbeat] none");
  put(red / "brightness", "1\n");
  fs::create_directories(root_ / "out");
  pin("red")->valueIs(0);
  try {
    start(R"(sysfs_root = "sys"
[[pin]]
name = "green"
backend = "gpiod"
chip = "gpiochip0"
line = 4
[[pin]]
name = "red"
backend = "led"
device = "red"
[[pin]]
name = "blue"
backend = "led"
device = "blue"
brightness = 9
[[pin]]
name = "amber"
backend = "file"
path = "out/amber"
[[pin]]
name = "white"
backend = "file"
path = "gone/white"
)");
    ADD_FAILURE() << "started without LED blue";
  } catch (DriveError const& error) {
    std::string const map = (root_ / "map.toml").string();
    EXPECT_EQ(std::string(error.what()),
              map + ":11: pin 'blue': LED 'blue': trigger: No such file or directory\n" + map +
                  ":20: pin 'white': file '" + (root_ / "gone/white").string() +
                  "': No such file or directory");
    EXPECT_FALSE(error.transient());
  }
  EXPECT_EQ(contents(red / "trigger"), "[heartbeat] none");
  EXPECT_EQ(contents(red / "brightness"), "1\n");
  EXPECT_TRUE(bench_.requests.empty());
  EXPECT_FALSE(fs::exists(root_ / "out/amber"));
}

TEST_F(HardwareFilesTest, FilesHoldOnePinEachOrAllValuesWrittenInPlaceWhereTheyChanged) {
  fs::create_directories(root_ / "out");
  auto a = pin("a"), b = pin("b"), c = pin("c");
  b->valueIs(1);
  auto driver = start(R"(values_file = "out/all"
on_stop = "dark"
[[pin]]
name = "a"
backend = "file"
path = "out/a"
[[pin]]
name = "b"
backend = "file"
[[pin]]
name = "c"
backend = "file"
)");
  EXPECT_EQ(contents(root_ / "out/a"), "0\n");
  EXPECT_EQ(contents(root_ / "out/all"), "b 1\nc 0\n");
  EXPECT_FALSE(fs::exists(root_ / "out/all.new"));
  // Marks b's value in the file: a latch that rewrote more than c's byte would lose the mark.
  std::fstream(root_ / "out/all", std::ios::in | std::ios::out).seekp(2).put('x');
  a->valueIs(1);
  c->valueIs(1);
  loop_->runPending();
  EXPECT_EQ(contents(root_ / "out/a"), "1\n");
  EXPECT_EQ(contents(root_ / "out/all"), "b x\nc 1\n");
  driver->stop();
  EXPECT_EQ(contents(root_ / "out/a"), "0\n");
  EXPECT_EQ(contents(root_ / "out/all"), "b 0\nc 0\n");
}

}  // namespace
}  // namespace Drive
