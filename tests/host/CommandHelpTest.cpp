#include <gtest/gtest.h>

#include "host/script/CommandTable.h"
#include "host/script/ScriptParser.h"

namespace Host {
namespace {

// The table is what the parser dispatches on: every verb it lists is one the parser knows, and
// one it does not list is unknown to it.
TEST(CommandHelpTest, HelpListsExactlyTheVerbsTheParserKnows) {
  std::string const all = commandHelp("", commandTable());
  for (CommandSyntax const& command : commandTable()) {
    EXPECT_EQ(parseLine(command.verb).error.find("unknown command"), std::string::npos)
        << command.verb;
    EXPECT_NE(all.find("  " + std::string(command.verb) + " "), std::string::npos) << all;
  }
  EXPECT_EQ(parseLine("help").error, "unknown command 'help'");  // a console command only
  // Each verb reaches its own parse: the forms that take no argument come out as themselves.
  EXPECT_TRUE(std::holds_alternative<QuitCommand>(*parseLine("quit").command));
  EXPECT_TRUE(std::holds_alternative<WaitCommand>(*parseLine("wait 1").command));
  EXPECT_TRUE(std::holds_alternative<ShowCommand>(*parseLine("show pins").command));
  EXPECT_EQ(commandTable().size(), 8u);
}

TEST(CommandHelpTest, HelpCommandShowsEachFormOfOneVerb) {
  CommandSyntax const lamp[] = {{"lamp", "lamp test SECONDS", "light every mapped pin"}};
  EXPECT_EQ(commandHelp("show", commandTable()),
            "  show pins\n  show leds\n  show agent\n"
            "  print the pins, the LEDs or the agent's state\n");
  EXPECT_EQ(commandHelp("lamp", commandTable(), lamp),
            "  lamp test SECONDS\n  light every mapped pin\n");
  EXPECT_EQ(commandHelp("shw", commandTable()), "no command 'shw' (help lists them)\n");
  EXPECT_NE(commandHelp("", commandTable(), lamp).find("  lamp     light every mapped pin\n"),
            std::string::npos);
}

}  // namespace
}  // namespace Host
