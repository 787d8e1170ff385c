#include <gtest/gtest.h>

#include <string>

#include "host/run/AgentPlugin.h"
#include "platform/warden/AgentAbi.h"

namespace Host {
namespace {

std::string openError(std::string const& path) {
  try {
    AgentPlugin::open(path);
  } catch (AgentPlugin::Error const& error) {
    return error.what();
  }
  return "";
}

TEST(AgentPluginTest, RefusesWhatIsNotAnAgentPlugin) {
  struct Case {
    std::string path;
    char const* reason;
  };
  Case const cases[] = {
      {"", "empty agent plug-in path"},
      {"/nonexistent/libagent.so", "No such file or directory"},
      {TEST_SOURCE_DIR, "is a directory"},
      {"/dev/null", "is not a regular file"},
      {TEST_SOURCE_DIR "/CMakeLists.txt", "cannot load agent plug-in"},
      {PLATFORM_LIBRARY, "has no agent factory (no symbol 'wardenAgentFactory')"},
      {OTHER_FRAMEWORK_PLUGIN,
       "was built against framework 0.0.1-other, but warden runs "
       "framework " WARDEN_FRAMEWORK_VERSION},
      {UNVERSIONED_PLUGIN,
       "does not say which framework it was built against (no symbol "
       "'wardenAgentAbi'); rebuild it against framework " WARDEN_FRAMEWORK_VERSION},
  };
  for (Case const& c : cases) {
    std::string const error = openError(c.path);
    EXPECT_NE(error.find(c.reason), std::string::npos) << c.path << ": " << error;
    if (!c.path.empty()) {
      EXPECT_NE(error.find(c.path), std::string::npos) << error;
    }
  }
}

TEST(AgentPluginTest, CreatesAgentsThroughTheFactoryAndRefusesAFactoryThatMakesNone) {
  AgentPlugin const plugin = AgentPlugin::open(STUB_AGENT_PLUGIN);
  Zel::Ptr<Warden::CAgent> const agent = plugin.createAgent("front");
  ASSERT_TRUE(agent);
  EXPECT_EQ(agent->name(), Zel::Name("front"));
  EXPECT_EQ(agent->references(), 1u);  // the factory's reference, adopted and not doubled
  AgentPlugin const copy = plugin;     // the library stays open while any copy lives
  EXPECT_TRUE(copy.createAgent("second"));

  AgentPlugin const null = AgentPlugin::open(NULL_AGENT_PLUGIN);
  try {
    null.createAgent("front");
    ADD_FAILURE() << "no error";
  } catch (AgentPlugin::Error const& error) {
    EXPECT_NE(std::string(error.what()).find("returned no agent"), std::string::npos);
  }
}

}  // namespace
}  // namespace Host
