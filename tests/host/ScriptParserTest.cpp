#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "host/ScriptLexer.h"
#include "host/ScriptParser.h"

namespace Host {
namespace {

struct Malformed {
  char const* line;
  char const* reason;
};

void PrintTo(Malformed const& malformed, std::ostream* out) {
  *out << '"' << malformed.line << '"';
}

class MalformedLineTest : public testing::TestWithParam<Malformed> {};

TEST_P(MalformedLineTest, IsRefusedWithItsReason) {
  ParsedLine const parsed = parseLine(GetParam().line);
  EXPECT_FALSE(parsed.command.has_value());
  EXPECT_NE(parsed.error.find(GetParam().reason), std::string::npos)
      << "line: " << GetParam().line << "\nerror: " << parsed.error;
}

INSTANTIATE_TEST_SUITE_P(
    Reasons, MalformedLineTest,
    testing::Values(Malformed{"frob Led1", "unknown command 'frob'"},
                    Malformed{"Set led Led1 green", "unknown command 'Set'"},
                    Malformed{"set lamp Led1", "expected 'mapping' or 'led'"},
                    Malformed{"set led", "missing LED name"},
                    Malformed{"set led Led1 flash=-0.5", "negative flash interval"},
                    Malformed{"set led Led1 flash=NaN", "flash interval is not a number"},
                    Malformed{"set led Led1 flash=nan", "flash interval is not a number"},
                    Malformed{"set led Led1 flash=inf", "too large"},
                    Malformed{"set led Led1 flash=3600.5", "too large (at most 3600 seconds)"},
                    Malformed{"set led Led1 flash=0.0001", "below 0.001 seconds"},
                    Malformed{"set led Led1 flash=1s", "bad number '1s'"},
                    Malformed{"set led Led1 flash=", "needs a number of seconds"},
                    Malformed{"set led Led1 flash", "flash needs a value"},
                    Malformed{"set led Led1 red red", "red given twice"},
                    Malformed{"set led Led1 off off", "off given twice"},
                    Malformed{"set led Led1 flash=1 flash=2", "flash given twice"},
                    Malformed{"set led Led1 orange off", "off together with a colour"},
                    Malformed{"set led Led1 blue", "unknown led argument 'blue'"},
                    Malformed{"set led Led1 \"green\"", "found a quoted text"},
                    Malformed{"set mapping Led1 green=a green=b", "green given twice"},
                    Malformed{"set mapping Led1 ready=yes ready=no", "ready given twice"},
                    Malformed{"set mapping Led1 ready=true", "ready must be yes or no"},
                    Malformed{"set mapping Led1 green", "green needs a value"},
                    Malformed{"set mapping Led1 green=a,,b", "empty pin name"},
                    Malformed{"set mapping Led1 green=a,", "empty pin name"},
                    Malformed{"set mapping Led1 green=a,a", "pin 'a' listed twice"},
                    Malformed{"set mapping Led1 blue=a", "unknown mapping argument 'blue'"},
                    Malformed{"set mapping Led=1", "may not contain '=' or ','"},
                    Malformed{"remove pin p1", "expected 'mapping' or 'led'"},
                    Malformed{"remove led Led1 now", "unexpected argument 'now'"},
                    Malformed{"wait", "missing wait"}, Malformed{"wait -1", "negative wait"},
                    Malformed{"wait 86401", "too large"}, Malformed{"wait 1e400", "out of range"},
                    Malformed{"expect pin p1", "missing pin value"},
                    Malformed{"expect pin p1 1.5", "bad number '1.5'"},
                    Malformed{"expect pin p1 4294967296", "too large"},
                    Malformed{"expect no pin p1 0", "unexpected argument '0'"},
                    Malformed{"expect trace 6 text", "must be in double quotes"},
                    Malformed{"expect trace 32 \"x\"", "too large (at most 31)"},
                    Malformed{"expect trace six \"x\"", "bad number 'six'"},
                    Malformed{"expect trace 6 \"open", "unterminated quoted text"},
                    Malformed{"expect trace 6 \"a\\tb\"", "unknown escape \\t"},
                    Malformed{"expect trace 6 \"a\"b", "quoted text followed by other"},
                    Malformed{"expect trace 6 a\"b\"", "quote inside a word"},
                    Malformed{"expect no raised \"x\"", "not a command"},
                    Malformed{"expect lamp Led1", "unknown expectation 'lamp'"},
                    Malformed{"show everything", "cannot show 'everything'"},
                    Malformed{"trace Pinlamp 0-99", "bad trace levels"},
                    Malformed{"trace Pinlamp 99999999999", "bad trace levels"},
                    Malformed{"quit now", "unexpected argument 'now'"},
                    Malformed{"set led Led1 green\x01", "control character 0x01"},
                    Malformed{"expect trace 6 \"\x1b[31m\"", "control character 0x1b in quoted"},
                    Malformed{"set led L\xc3 green", "not UTF-8 text"},
                    Malformed{"set led L\xed\xa0\x80 green", "not UTF-8 text"},
                    Malformed{"set led L\xf5\x80\x80\x80 green", "not UTF-8 text"}),
    [](testing::TestParamInfo<Malformed> const& info) {
      return "Line" + std::to_string(info.index);
    });

TEST(ScriptParserTest, ReadsEachCommandIntoItsFields) {
  auto mapping = std::get<MappingCommand>(
      *parseLine("set mapping Led1 green=g1,g2 red= ready=yes  # comment").command);
  EXPECT_EQ(mapping.led, "Led1");
  EXPECT_FALSE(mapping.replace);
  EXPECT_FALSE(mapping.pins[0].has_value());  // yellow not named: kept
  EXPECT_EQ(mapping.pins[1], (std::vector<std::string>{"g1", "g2"}));
  EXPECT_EQ(mapping.pins[2], std::vector<std::string>{});  // red named empty: no pins
  EXPECT_EQ(mapping.ready, true);

  auto led = std::get<LedCommand>(*parseLine("replace led Led1 orange yellow flash=0.25").command);
  EXPECT_TRUE(led.replace);
  EXPECT_EQ(led.lit, (std::array<bool, 4>{true, false, false, true}));
  EXPECT_EQ(led.flashInterval, 0.25);
  EXPECT_EQ(std::get<LedCommand>(*parseLine("set led Led1 off flash=0").command).lit,
            (std::array<bool, 4>{}));

  auto trace =
      std::get<ExpectTraceCommand>(*parseLine(R"(expect no trace 6 "a \"b\" \\ #c")").command);
  EXPECT_FALSE(trace.present);
  EXPECT_EQ(trace.level, 6);
  EXPECT_EQ(trace.text, R"(a "b" \ #c)");

  EXPECT_EQ(std::get<ExpectPinCommand>(*parseLine("expect pin p1 4294967295").command).value,
            4294967295u);
  EXPECT_FALSE(std::get<ExpectPinCommand>(*parseLine("expect no pin p1").command).value);
  EXPECT_EQ(std::get<TraceCommand>(*parseLine("trace Other 3,6-8").command).levels,
            (1u << 3) | (1u << 6) | (1u << 7) | (1u << 8));
  EXPECT_EQ(std::get<TraceCommand>(*parseLine("trace Other none").command).levels, 0u);
  EXPECT_EQ(std::get<ExpectRaisedCommand>(*parseLine("expect raised \"\"").command).prefix, "");
}

TEST(ScriptParserTest, BlankAndCommentLinesAreNothing) {
  for (char const* line : {"", "   \t", "# set led x", "  # \"unbalanced", "\r"}) {
    ParsedLine const parsed = parseLine(line);
    EXPECT_FALSE(parsed.command.has_value()) << line;
    EXPECT_TRUE(parsed.error.empty()) << line;
  }
}

TEST(ScriptParserTest, ScriptKeepsLineNumbersOfCommandsAndErrors) {
  std::istringstream in(
      "# header\n"
      "set led Led1 green\r\n"
      "\n"
      "bogus\n"
      "expect trace 7 \"x\"\n"
      "expect no trace 9 \"y\"\n");
  Script const script = parseScript("s.warden", in);
  ASSERT_EQ(script.lines.size(), 3u);
  EXPECT_EQ(script.lines[0].where.text(), "s.warden:2");
  EXPECT_EQ(script.lines[2].where.line, 6);
  ASSERT_EQ(script.errors.size(), 1u);
  EXPECT_EQ(script.errors[0].text(), "s.warden:4: unknown command 'bogus'");
  EXPECT_EQ(expectedTraceLevels(script), (1u << 7) | (1u << 9));
}

TEST(ScriptParserTest, NamesMayBeAnyUtf8Text) {
  auto const led =
      std::get<LedCommand>(*parseLine("set led L\xc3\xbc\xf0\x9f\x92\xa1 red").command);
  EXPECT_EQ(led.led, "L\xc3\xbc\xf0\x9f\x92\xa1");
}

TEST(ScriptParserTest, NamesAreLimitedInLength) {
  std::string const longest(kMaxNameLength, 'n');
  EXPECT_TRUE(parseLine("set led " + longest + " green").command);
  EXPECT_NE(parseLine("set led " + longest + "n green").error.find("longer than 128"),
            std::string::npos);
  EXPECT_NE(parseLine(std::string(kMaxLineLength + 1, ' ')).error.find("line longer than"),
            std::string::npos);
}

// Whatever bytes arrive, a line is either a command, nothing, or an error: never a crash.
TEST(ScriptParserTest, RandomBytesNeverBreakTheParser) {
  std::mt19937 random(7);
  std::vector<std::string> const words = {"set", "led", "mapping", "green=", "flash=", "\"",
                                          "\\",  "#",   ",",       "=",      "expect", "trace"};
  for (int round = 0; round < 3000; ++round) {
    std::string line;
    int const pieces = static_cast<int>(random() % 12);
    for (int i = 0; i < pieces; ++i) {
      if (random() % 2) {
        line += words[random() % words.size()];
      } else {
        line += static_cast<char>(random() % 256);
      }
      if (random() % 3 == 0) line += ' ';
    }
    ParsedLine const parsed = parseLine(line);
    EXPECT_FALSE(parsed.command && !parsed.error.empty());
  }
}

}  // namespace
}  // namespace Host
