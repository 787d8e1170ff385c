#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/run/Options.h"

namespace Host {
namespace {

TEST(OptionsTest, ReadsEveryOptionInEitherForm) {
  ParsedOptions const parsed =
      parseOptions({"check", "a.warden", "--agent", "lib.so", "--name=lamp", "--cell", "2",
                    "--trace", "Pinlamp/3,6", "--trace=Other", "--quiet", "--", "--odd.warden"});
  ASSERT_EQ(parsed.error, "");
  Options const& options = parsed.options;
  EXPECT_EQ(options.mode, Options::Mode::check);
  EXPECT_EQ(options.agentPath, "lib.so");
  EXPECT_EQ(options.agentName, "lamp");
  EXPECT_EQ(options.cell, 2u);
  EXPECT_TRUE(options.quiet);
  ASSERT_EQ(options.traces.size(), 2u);
  EXPECT_EQ(options.traces[0], (std::pair<std::string, std::uint32_t>{"Pinlamp", 0x48}));
  EXPECT_EQ(options.traces[1].second, ~0u);  // no levels: all of them
  EXPECT_EQ(options.scripts, (std::vector<std::string>{"a.warden", "--odd.warden"}));
}

TEST(OptionsTest, DefaultsAndHelp) {
  ParsedOptions const run = parseOptions({"run"});
  ASSERT_EQ(run.error, "");
  EXPECT_EQ(run.options.mode, Options::Mode::run);
  EXPECT_EQ(run.options.agentName, "pinlamp");
  EXPECT_EQ(run.options.cell, 1u);
  EXPECT_EQ(parseOptions({"--help"}).options.mode, Options::Mode::help);
  EXPECT_EQ(parseOptions({"run", "-h"}).options.mode, Options::Mode::help);
}

TEST(OptionsTest, RefusesWhatItDoesNotUnderstand) {
  struct Case {
    std::vector<std::string> arguments;
    char const* reason;
  };
  std::vector<Case> const cases = {
      {{}, "missing command"},
      {{"walk"}, "unknown command 'walk'"},
      {{"check"}, "check needs at least one script"},
      {{"run", "a", "b"}, "run takes at most one script"},
      {{"serve", "a.warden"}, "serve takes no script"},
      {{"serve", "--config"}, "--config needs a value"},
      {{"run", "--agent"}, "--agent needs a value"},
      {{"run", "--cell", "x"}, "--cell needs a whole number"},
      {{"run", "--cell", "-1"}, "--cell needs a whole number"},
      {{"run", "--trace", "/3"}, "--trace needs FACILITY"},
      {{"run", "--trace", "Pinlamp/40"}, "bad trace levels"},
      {{"run", "--name="}, "--name needs a non-empty name"},
      {{"run", "--quiet=yes"}, "unknown option '--quiet=yes'"},
      {{"run", "--http="}, "--http needs unix:PATH or HOST:PORT"},
      {{"check", "--http", "127.0.0.1:80", "a.warden"}, "--http is for run, serve and drive"},
      {{"serve", "--http-allow-remote=yes"}, "unknown option"},
  };
  for (Case const& c : cases) {
    std::string const error = parseOptions(c.arguments).error;
    EXPECT_NE(error.find(c.reason), std::string::npos) << "got: " << error;
  }
}

}  // namespace
}  // namespace Host
