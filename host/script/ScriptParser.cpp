#include "host/script/ScriptParser.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <system_error>
#include <utility>

#include "host/run/TraceLevels.h"
#include "host/script/CommandTable.h"
#include "host/script/ScriptLexer.h"
#include "platform/zel/Trace.h"

namespace Host {

namespace {

struct Malformed {
  std::string reason;
};

// Keeps error messages readable when the offending text is long.
std::string quote(std::string_view text) {
  constexpr std::size_t kShown = 40;
  if (text.size() <= kShown) return "'" + std::string(text) + "'";
  return "'" + std::string(text.substr(0, kShown)) + "...'";
}

void checkName(std::string_view what, std::string_view name) {
  if (name.empty()) throw Malformed{"empty " + std::string(what)};
  if (name.size() > kMaxNameLength) {
    throw Malformed{std::string(what) + " longer than " + std::to_string(kMaxNameLength) +
                    " characters"};
  }
  if (name.find_first_of("=,") != std::string_view::npos) {
    throw Malformed{std::string(what) + " " + quote(name) + " may not contain '=' or ','"};
  }
}

double parseSeconds(std::string const& text, std::string_view what, double max) {
  if (text.empty()) throw Malformed{std::string(what) + " needs a number of seconds"};
  if (text[0] == '-') throw Malformed{"negative " + std::string(what) + " " + quote(text)};
  double value = 0.0;
  auto const [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec == std::errc::result_out_of_range && end == text.data() + text.size()) {
    throw Malformed{std::string(what) + " " + quote(text) + " out of range"};
  }
  if (ec != std::errc() || end != text.data() + text.size()) {
    throw Malformed{"bad number " + quote(text) + " for " + std::string(what)};
  }
  if (std::isnan(value)) throw Malformed{std::string(what) + " is not a number"};
  if (std::isinf(value) || value > max) {
    throw Malformed{std::string(what) + " " + quote(text) + " too large (at most " +
                    std::to_string(static_cast<long>(max)) + " seconds)"};
  }
  return value;
}

template <class Integer>
Integer parseInteger(std::string const& text, std::string_view what, Integer max) {
  if (!text.empty() && text[0] == '-') {
    throw Malformed{"negative " + std::string(what) + " " + quote(text)};
  }
  Integer value{};
  auto const [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec == std::errc::result_out_of_range || (ec == std::errc() && value > max)) {
    throw Malformed{std::string(what) + " " + quote(text) + " too large (at most " +
                    std::to_string(max) + ")"};
  }
  if (text.empty() || ec != std::errc() || end != text.data() + text.size()) {
    throw Malformed{"bad number " + quote(text) + " for " + std::string(what)};
  }
  return value;
}

std::optional<Colour> colourNamed(std::string_view name) {
  for (std::size_t i = 0; i < kColourCount; ++i) {
    if (kColourNames[i] == name) return static_cast<Colour>(i);
  }
  return std::nullopt;
}

std::vector<std::string> parsePins(std::string_view list) {
  std::vector<std::string> pins;
  if (list.empty()) return pins;
  for (;;) {
    std::size_t const comma = list.find(',');
    std::string_view const pin = list.substr(0, comma);
    if (pin.empty()) throw Malformed{"empty pin name in the list"};
    checkName("pin name", pin);
    for (auto const& seen : pins) {
      if (seen == pin) throw Malformed{"pin " + quote(pin) + " listed twice"};
    }
    pins.emplace_back(pin);
    if (comma == std::string_view::npos) break;
    list.remove_prefix(comma + 1);
  }
  return pins;
}

class LineParser {
 public:
  explicit LineParser(std::vector<Token> tokens) : tokens_(std::move(tokens)) {}

  struct Verb {
    CommandSyntax syntax;
    Command (LineParser::*parse)();
  };
  static Verb const kVerbs[8];

  Command run() {
    std::string const verb = word("a command");
    for (Verb const& known : kVerbs) {
      if (known.syntax.verb == verb) return (this->*known.parse)();
    }
    throw Malformed{"unknown command " + quote(verb)};
  }

 private:
  Command set() { return mapping_or_led(false); }
  Command replace() { return mapping_or_led(true); }
  Command wait() { return finish(WaitCommand{parseSeconds(word("wait"), "wait", kMaxWait)}); }
  Command quit() { return finish(QuitCommand{}); }

  bool atEnd() const noexcept { return next_ >= tokens_.size(); }

  Token const& take(std::string_view what) {
    if (atEnd()) throw Malformed{"missing " + std::string(what)};
    return tokens_[next_++];
  }

  std::string word(std::string_view what) {
    Token const& token = take(what);
    if (token.kind != Token::Kind::word) {
      throw Malformed{"expected " + std::string(what) + ", found a quoted text"};
    }
    return token.text;
  }

  std::string name(std::string_view what) {
    std::string text = word(what);
    checkName(what, text);
    return text;
  }

  std::string quotedText(std::string_view what) {
    Token const& token = take(what);
    if (token.kind != Token::Kind::quoted) {
      throw Malformed{std::string(what) + " must be in double quotes"};
    }
    return token.text;
  }

  template <class C>
  Command finish(C command) {
    if (!atEnd()) {
      Token const& extra = tokens_[next_];
      throw Malformed{"unexpected argument " + quote(extra.text)};
    }
    return command;
  }

  Command mapping_or_led(bool replace) {
    std::string const what = word("'mapping' or 'led'");
    if (what == "mapping") return mapping(replace);
    if (what == "led") return led(replace);
    throw Malformed{"expected 'mapping' or 'led', found " + quote(what)};
  }

  Command mapping(bool replace) {
    MappingCommand command;
    command.replace = replace;
    command.led = name("LED name");
    while (!atEnd()) {
      std::string const argument = word("argument");
      std::size_t const equals = argument.find('=');
      std::string const key = argument.substr(0, equals);
      std::optional<Colour> const colour = colourNamed(key);
      if (equals == std::string::npos) {
        if (colour || key == "ready") throw Malformed{key + " needs a value (" + key + "=...)"};
        throw Malformed{"unknown mapping argument " + quote(argument)};
      }
      std::string_view const value = std::string_view(argument).substr(equals + 1);
      if (colour) {
        auto& pins = command.pins[static_cast<std::size_t>(*colour)];
        if (pins) throw Malformed{key + " given twice"};
        pins = parsePins(value);
      } else if (key == "ready") {
        if (command.ready) throw Malformed{"ready given twice"};
        if (value != "yes" && value != "no") throw Malformed{"ready must be yes or no"};
        command.ready = value == "yes";
      } else {
        throw Malformed{"unknown mapping argument " + quote(key)};
      }
    }
    return command;
  }

  Command led(bool replace) {
    LedCommand command;
    command.replace = replace;
    command.led = name("LED name");
    bool off = false;
    bool flash = false;
    bool anyColour = false;
    while (!atEnd()) {
      std::string const argument = word("argument");
      if (std::optional<Colour> const colour = colourNamed(argument)) {
        bool& lit = command.lit[static_cast<std::size_t>(*colour)];
        if (lit) throw Malformed{argument + " given twice"};
        lit = anyColour = true;
      } else if (argument == "off") {
        if (off) throw Malformed{"off given twice"};
        off = true;
      } else if (argument.starts_with("flash=")) {
        if (flash) throw Malformed{"flash given twice"};
        flash = true;
        command.flashInterval =
            parseSeconds(argument.substr(6), "flash interval", kMaxFlashInterval);
        if (command.flashInterval > 0.0 && command.flashInterval < kMinFlashInterval) {
          throw Malformed{"flash interval below 0.001 seconds"};
        }
      } else if (argument == "flash") {
        throw Malformed{"flash needs a value (flash=SECONDS)"};
      } else {
        throw Malformed{"unknown led argument " + quote(argument)};
      }
    }
    if (off && anyColour) throw Malformed{"off together with a colour"};
    return command;
  }

  Command remove() {
    std::string const what = word("'mapping' or 'led'");
    RemoveCommand command;
    if (what == "mapping") {
      command.what = RemoveCommand::What::mapping;
    } else if (what == "led") {
      command.what = RemoveCommand::What::led;
    } else {
      throw Malformed{"expected 'mapping' or 'led', found " + quote(what)};
    }
    command.led = name("LED name");
    return finish(std::move(command));
  }

  Command expect() {
    std::string what = word("what to expect");
    bool present = true;
    if (what == "no") {
      present = false;
      what = word("what to expect");
    }
    if (what == "pin") {
      ExpectPinCommand command;
      command.pin = name("pin name");
      if (present) {
        command.value = parseInteger<std::uint32_t>(word("pin value"), "pin value", UINT32_MAX);
      }
      return finish(std::move(command));
    }
    if (what == "machine") return finish(ExpectMachineCommand{name("LED name"), present});
    if (what == "trace") {
      ExpectTraceCommand command;
      command.present = present;
      command.level = parseInteger<int>(word("trace level"), "trace level", 31);
      command.text = quotedText("trace text");
      return finish(std::move(command));
    }
    if (what == "raised") {
      if (!present) throw Malformed{"'expect no raised' is not a command"};
      return finish(ExpectRaisedCommand{quotedText("exception text")});
    }
    throw Malformed{"unknown expectation " + quote(what) +
                    " (expect pin, machine, trace or raised)"};
  }

  Command show() {
    std::string const what = word("what to show");
    if (what == "pins") return finish(ShowCommand{ShowCommand::What::pins});
    if (what == "leds") return finish(ShowCommand{ShowCommand::What::leds});
    if (what == "agent") return finish(ShowCommand{ShowCommand::What::agent});
    throw Malformed{"cannot show " + quote(what) + " (show pins, leds or agent)"};
  }

  Command trace() {
    TraceCommand command;
    command.facility = name("trace facility");
    std::string const levels = word("trace levels");
    if (!parseTraceLevelList(levels, command.levels)) {
      throw Malformed{"bad trace levels " + quote(levels) + " (such as 0-9, 3,6,8, all or none)"};
    }
    return finish(std::move(command));
  }

  std::vector<Token> tokens_;
  std::size_t next_ = 0;
};

LineParser::Verb const LineParser::kVerbs[8] = {
    {{"set",
      "set mapping LED [yellow=PINS] [green=PINS] [red=PINS] [orange=PINS] [ready=yes|no]\n"
      "set led LED [yellow] [green] [red] [orange] [flash=SECONDS] | off",
      "publish or change an LED's pin mapping or light setting (PINS: p1,p2)"},
     &LineParser::set},
    {{"replace", "replace mapping LED ...\nreplace led LED ...",
      "like set, but the fields not given are cleared"},
     &LineParser::replace},
    {{"remove", "remove mapping LED\nremove led LED", "withdraw an LED's mapping or setting"},
     &LineParser::remove},
    {{"wait", "wait SECONDS", "let time pass while the agent runs"}, &LineParser::wait},
    {{"expect",
      "expect pin PIN VALUE\nexpect no pin PIN\nexpect [no] machine LED\n"
      "expect [no] trace LEVEL \"TEXT\"\nexpect raised \"TEXT\"",
      "check a pin, an LED's state machine, a trace record or a raised exception"},
     &LineParser::expect},
    {{"show", "show pins\nshow leds\nshow agent", "print the pins, the LEDs or the agent's state"},
     &LineParser::show},
    {{"trace", "trace FACILITY LEVELS",
      "print a trace facility's records (LEVELS: 0-9, all, none)"},
     &LineParser::trace},
    {{"quit", "quit", "end the run"}, &LineParser::quit},
};

}  // namespace

std::span<CommandSyntax const> commandTable() {
  static std::vector<CommandSyntax> const table = [] {
    std::vector<CommandSyntax> syntax;
    for (LineParser::Verb const& verb : LineParser::kVerbs) syntax.push_back(verb.syntax);
    return syntax;
  }();
  return table;
}

ParsedLine parseLine(std::string_view line) {
  ParsedLine result;
  LexedLine lexed = lexLine(line);
  if (!lexed.ok()) {
    result.error = std::move(lexed.error);
    return result;
  }
  if (lexed.tokens.empty()) return result;
  try {
    result.command = LineParser(std::move(lexed.tokens)).run();
  } catch (Malformed const& malformed) {
    result.error = malformed.reason;
  }
  return result;
}

Script parseScript(std::string const& file, std::istream& in) {
  Script script;
  std::string text;
  int number = 0;
  while (std::getline(in, text)) {
    ++number;
    ParsedLine parsed = parseLine(text);
    SourceLocation where{file, number};
    if (!parsed.error.empty()) {
      script.errors.push_back({std::move(where), std::move(parsed.error)});
    } else if (parsed.command) {
      script.lines.push_back({std::move(where), std::move(*parsed.command)});
    }
  }
  return script;
}

std::uint32_t expectedTraceLevels(Script const& script) {
  std::uint32_t levels = 0;
  for (ScriptLine const& line : script.lines) {
    if (auto const* expect = std::get_if<ExpectTraceCommand>(&line.command)) {
      levels |= 1u << expect->level;
    }
  }
  return levels;
}

bool isExpectation(Command const& command) {
  return std::holds_alternative<ExpectPinCommand>(command) ||
         std::holds_alternative<ExpectMachineCommand>(command) ||
         std::holds_alternative<ExpectTraceCommand>(command) ||
         std::holds_alternative<ExpectRaisedCommand>(command);
}

}  // namespace Host
