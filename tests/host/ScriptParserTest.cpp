#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "host/script/ScriptLexer.h"
#include "host/script/ScriptParser.h"

namespace Host {
namespace {

TEST(ScriptParserTest, RefusesMalformedLinesWithTheirReasons) {
  struct Malformed {
    char const* line;
    char const* reason;
  };
  Malformed const cases[] = {
      {"frob Led1", "unknown command 'frob'"},
      {"set lamp Led1", "expected 'mapping' or 'led'"},
      {"set led Led1 flash=inf", "too large"},
      {"set led Led1 flash=3600.5", "too large (at most 3600 seconds)"},
      {"set led Led1 flash=0.0001", "below 0.001 seconds"},
      {"set led Led1 flash=1s", "bad number '1s'"},
      {"set led Led1 flash=", "needs a number of seconds"},
      {"set led Led1 \"green\"", "found a quoted text"},
      {"set mapping Led1 green", "green needs a value"},
      {"set mapping Led1 green=a,", "empty pin name"},
      {"set mapping Led1 green=a,a", "pin 'a' listed twice"},
      {"set mapping Led1 blue=a", "unknown mapping argument 'blue'"},
      {"set mapping Led=1", "may not contain '=' or ','"},
      {"remove led Led1 now", "unexpected argument 'now'"},
      {"wait", "missing wait"},
      {"wait -1", "negative wait"},
      {"wait 86401", "too large"},
      {"expect pin p1", "missing pin value"},
      {"expect pin p1 1.5", "bad number '1.5'"},
      {"expect pin p1 4294967296", "too large"},
      {"expect trace 32 \"x\"", "too large (at most 31)"},
      {"expect trace 6 a\"b\"", "quote inside a word"},
      {"expect no raised \"x\"", "not a command"},
      {"expect lamp Led1", "unknown expectation 'lamp'"},
      {"show everything", "cannot show 'everything'"},
      {"trace Pinlamp 0-99", "bad trace levels"},
      {"expect trace 6 \"\x1b[31m\"", "control character 0x1b in quoted"},
      {"set led L\xed\xa0\x80 green", "not UTF-8 text"},
      {"set led L\xf5\x80\x80\x80 green", "not UTF-8 text"},
  };
  for (Malformed const& c : cases) {
    ParsedLine const parsed = parseLine(c.line);
    EXPECT_FALSE(parsed.command.has_value()) << c.line;
    EXPECT_NE(parsed.error.find(c.reason), std::string::npos)
        << "line: " << c.line << "\nerror: " << parsed.error;
  }
}

// Mapping and LED commands are read through the publisher's tests; these are the other fields.
TEST(ScriptParserTest, ReadsEachCommandIntoItsFields) {
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

// Blank and comment lines are neither commands nor errors, and do not upset the numbering.
TEST(ScriptParserTest, ScriptKeepsLineNumbersOfCommandsAndErrors) {
  std::istringstream in(
      "# header\n"
      "set led Led1 green\r\n"
      "   \t\n"
      "bogus\n"
      "  # \"unbalanced\n"
      "\r\n"
      "expect trace 7 \"x\"\n"
      "expect no trace 9 \"y\"\n");
  Script const script = parseScript("s.warden", in);
  ASSERT_EQ(script.lines.size(), 3u);
  EXPECT_EQ(script.lines[0].where.text(), "s.warden:2");
  EXPECT_EQ(script.lines[2].where.line, 8);
  ASSERT_EQ(script.errors.size(), 1u);
  EXPECT_EQ(script.errors[0].text(), "s.warden:4: unknown command 'bogus'");
  EXPECT_EQ(expectedTraceLevels(script), (1u << 7) | (1u << 9));
}

TEST(ScriptParserTest, NamesMayBeAnyUtf8TextUpToALength) {
  auto const led =
      std::get<LedCommand>(*parseLine("set led L\xc3\xbc\xf0\x9f\x92\xa1 red").command);
  EXPECT_EQ(led.led, "L\xc3\xbc\xf0\x9f\x92\xa1");
  std::string const longest(kMaxNameLength, 'n');
  EXPECT_TRUE(parseLine("set led " + longest + " green").command);
  EXPECT_NE(parseLine("set led " + longest + "n green").error.find("longer than 128"),
            std::string::npos);
}

}  // namespace
}  // namespace Host
