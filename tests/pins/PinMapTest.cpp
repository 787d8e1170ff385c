#include <gtest/gtest.h>

#include <string>

#include "host/pins/PinMap.h"

namespace Drive {
namespace {

TEST(PinMapTest, ReadsEveryBackendWithPathsFromTheMapsDirectory) {
  PinMap const map = parsePinMap(R"(
sysfs_root = "fake-sys"
values_file = "pins.values"
on_stop = "dark"

[[pin]]
name = "g1"
backend = "gpiod"
chip = 0
line = "LED_G1"
active_low = true

[[pin]]
name = "r1"
backend = "led"
device = "board:red:status"
brightness = 40

[[pin]]
name = "y1"
backend = "file"
)",
                                 "map.toml", "/etc/pinlamp");
  ASSERT_EQ(map.pins.size(), 3u);
  EXPECT_EQ(map.sysfsRoot, "/etc/pinlamp/fake-sys");
  EXPECT_EQ(map.valuesFile, "/etc/pinlamp/pins.values");
  EXPECT_EQ(map.onStop, StopPattern::dark);
  PinAddress const& g1 = *map.find("g1");
  EXPECT_EQ(g1.chip, "0");
  EXPECT_FALSE(g1.lineOffset);
  EXPECT_EQ(g1.lineName, "LED_G1");
  EXPECT_TRUE(g1.activeLow);
  EXPECT_EQ(map.where(g1), "map.toml:6");
  EXPECT_EQ(map.find("r1")->brightness, 40u);
  EXPECT_EQ(map.find("y1")->path, "");
}

TEST(PinMapTest, RefusesABadMapWithTheLineAndWhatIsWrong) {
  struct Case {
    char const* map;
    char const* message;
  };
  Case const cases[] = {
      {"[[pin]]\nname = \"p\"\nbackend = \"relay\"\n",
       "map.toml:3: unknown backend 'relay' (gpiod, led or file)"},
      {"[[pin]]\nname = \"p\"\nbackend = \"file\"\npath = \"a\"\n"
       "[[pin]]\nname = \"p\"\nbackend = \"file\"\npath = \"b\"\n",
       "map.toml:5: pin 'p' is already mapped at line 1"},
      {"[[pin]]\nname = \"p\"\nbackend = \"gpiod\"\nchip = 0\n",
       "map.toml:1: gpiod pin 'p' lacks 'line'"},
      {"[[pin]]\nbackend = \"led\"\ndevice = \"x\"\n", "map.toml:1: pin lacks 'name'"},
      {"[[pin]]\nname = \"p\"\nbackend = \"led\"\n", "map.toml:1: pin lacks 'device'"},
      {"[[pin]]\nname = \"p\"\nbackend = \"gpiod\"\nchip = 0\nline = -2\n",
       "map.toml:5: 'line' must be a whole number from 0"},
      {"[[pin]]\nname = \"p\"\nbackend = \"gpiod\"\nchip = 0\nline = 1\nactive_low = \"yes\"\n",
       "map.toml:6: 'active_low' must be true or false"},
      {"[[pin]]\nname = \"p\"\nbackend = \"file\"\n",
       "map.toml:1: file pin 'p' has no 'path' and the map no 'values_file'"},
      {"[[pin]]\nname = \"p\"\nbackend = \"led\"\ndevice = \"x\"\nbrightnes = 3\n",
       "map.toml:5: unknown key 'brightnes' in pin"},
      {"on_stop = \"off\"\n[[pin]]\nname = \"p\"\nbackend = \"led\"\ndevice = \"x\"\n",
       "map.toml:1: 'on_stop' must be leave, dark or lit"},
      {"on_stop = \"dark\"\nsysfs_rot = \"/sys\"\n[[pin]]\nname = \"p\"\nbackend = \"led\"\n"
       "device = \"x\"\n",
       "map.toml:2: unknown key 'sysfs_rot' in the map"},
      {"pin = 3\n", "map.toml:1: 'pin' must be a list of [[pin]] tables"},
      {"", "map.toml:1: the map names no pin"},
      {"[[pin]]\nname = \"p\nbackend = \"led\"\n", "map.toml:2:"},
  };
  for (Case const& c : cases) {
    try {
      parsePinMap(c.map, "map.toml");
      ADD_FAILURE() << "accepted: " << c.map;
    } catch (PinMapError const& error) {
      EXPECT_EQ(std::string(error.what()).rfind(c.message, 0), 0u)
          << "got: " << error.what() << "\nwanted: " << c.message;
    }
  }
  try {
    loadPinMap("/nonexistent/map.toml");
    ADD_FAILURE() << "read a map that is not there";
  } catch (PinMapError const& error) {
    EXPECT_STREQ(error.what(),
                 "/nonexistent/map.toml: cannot read the pin map: No such file or directory");
  }
}

}  // namespace
}  // namespace Drive
