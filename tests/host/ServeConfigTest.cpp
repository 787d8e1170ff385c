#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/serve/Readiness.h"
#include "host/serve/ServeConfig.h"

namespace Host {
namespace {

namespace fs = std::filesystem;

class ServeConfigTest : public testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("warden-config-" + std::to_string(::getpid()));
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  std::string write(std::string const& text) {
    std::string const path = (dir_ / ("c" + std::to_string(++files_) + ".toml")).string();
    std::ofstream(path) << text;
    return path;
  }

  fs::path dir_;
  int files_ = 0;
};

TEST_F(ServeConfigTest, KeysAreTheLongOptionsAndTheCommandLineWins) {
  std::string const path = write(
      "# a service\n"
      "agent = \"/opt/libagent.so\"\n"
      "name = \"lamp\"\n"
      "cell = 2\n"
      "trace = [\"Pinlamp/3\", \"Other/6\"]\n"
      "quiet = false\n"
      "lamp-test-seconds = 4\n");
  ParsedOptions const parsed =
      loadServiceOptions({"serve", "--config", path, "--cell=5", "--trace", "Pinlamp/9"});
  ASSERT_EQ(parsed.error, "");
  Options const& options = parsed.options;
  EXPECT_EQ(options.mode, Options::Mode::serve);
  EXPECT_EQ(options.agentPath, "/opt/libagent.so");
  EXPECT_EQ(options.agentName, "lamp");
  EXPECT_EQ(options.cell, 5u);
  EXPECT_FALSE(options.quiet);
  // The command line's levels come last, so they are the ones a facility ends with.
  ASSERT_EQ(options.traces.size(), 3u);
  EXPECT_EQ(options.traces.back(), (std::pair<std::string, std::uint32_t>{"Pinlamp", 1u << 9}));
  EXPECT_EQ(options.configPath, path);
  EXPECT_EQ(options.lampTestSeconds, 4.0);

  // A reload takes up the trace levels and the lamp test's length; the rest needs a restart.
  std::vector<std::string> restartOnly = restartOnlyArguments(readConfig(path));
  std::sort(restartOnly.begin(), restartOnly.end());
  EXPECT_EQ(restartOnly,
            (std::vector<std::string>{"--agent=/opt/libagent.so", "--cell=2", "--name=lamp"}));
}

// drive's --db and --pins may come from the file alone; without them it is refused.
TEST_F(ServeConfigTest, DriveTakesWhatItNeedsFromTheFile) {
  std::string const path = write("db = \"unix:/run/redis.sock\"\npins = \"/etc/pins.toml\"\n");
  ParsedOptions const parsed = loadServiceOptions({"drive", "--config", path});
  ASSERT_EQ(parsed.error, "");
  EXPECT_EQ(parsed.options.mode, Options::Mode::drive);
  EXPECT_EQ(parsed.options.database.url, "unix:/run/redis.sock");
  EXPECT_EQ(parsed.options.pinMap, "/etc/pins.toml");
  EXPECT_EQ(loadServiceOptions({"drive", "--config", write("pins = \"p.toml\"\n")}).error,
            "drive needs --db URL and --pins FILE");
}

TEST_F(ServeConfigTest, EveryErrorNamesTheFileAndLine) {
  struct Case {
    std::string text;
    char const* where;
    char const* reason;
  };
  Case const cases[] = {
      {"name = \"x\"\n\nbogus = 1\n", ":3: ", "unknown key 'bogus'"},
      {"cell = \"two\"\n", ":1: ", "--cell needs a whole number, not 'two'"},
      {"\ncell = 1.5\n", ":2: ", "--cell needs a whole number, not '1.5'"},
      {"\n\nname = 2026-11-24\n", ":3: ", "'name' needs a string, a number or true/false"},
      {"[agent]\npath = \"x\"\n", ":1: ", "'agent' is a table, not an option"},
      {"trace = [\n  \"Pinlamp/3\",\n  [\"x\"],\n]\n", ":3: ", "'trace' takes a list of values"},
      {"trace = [\"Pinlamp/x\"]\n", ":1: ", "bad trace levels"},
      {"name = \"x\"\nname = \"y\"\n", ":2: ", "redefine"},
      {"name = \"unterminated\n", ":1: ", ""},
      {"config = \"other.toml\"\n", ":1: ", "a configuration cannot name another one"},
      {"serve = true\n", ":1: ", "unknown key 'serve'"},
  };
  for (Case const& c : cases) {
    std::string const path = write(c.text);
    ParsedOptions const parsed = loadServiceOptions({"serve", "--config=" + path});
    EXPECT_EQ(parsed.error.rfind(path + c.where, 0), 0u) << c.text << " -> " << parsed.error;
    EXPECT_NE(parsed.error.find(c.reason), std::string::npos) << c.text << " -> " << parsed.error;
  }
  std::string const missing = (dir_ / "missing.toml").string();
  EXPECT_EQ(loadServiceOptions({"serve", "--config", missing}).error,
            missing + ": cannot read the configuration: No such file or directory");
}

TEST(ReadinessTest, ReadyOnceWhenTheLastConditionIsMet) {
  int readies = 0;
  Readiness readiness([&] { ++readies; });
  readiness.conditionIs("mounts");
  readiness.conditionIs("pins");
  readiness.conditionMet("mounts");
  readiness.waitingDone();
  EXPECT_EQ(readies, 0);  // the pins are still pending
  readiness.conditionMet("pins");
  EXPECT_EQ(readies, 1);
  readiness.conditionIs("resync");  // too late to hold readiness back
  readiness.conditionMet("resync");
  readiness.waitingDone();
  EXPECT_EQ(readies, 1);

  // Conditions met before the waiting ends do not announce readiness early.
  Readiness early([&] { ++readies; });
  early.conditionIs("mounts");
  early.conditionMet("mounts");
  EXPECT_FALSE(early.isReady());
  early.waitingDone();
  EXPECT_TRUE(early.isReady());
}

}  // namespace
}  // namespace Host
