// Turns script text into commands. Every malformed line yields a short reason (unknown command,
// bad number, argument given twice, ...) that the caller prints with the line's location.
#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/script/Command.h"
#include "host/script/SourceLocation.h"

namespace Host {

inline constexpr std::size_t kMaxNameLength = 128;
inline constexpr double kMinFlashInterval = 0.001;
inline constexpr double kMaxFlashInterval = 3600.0;
inline constexpr double kMaxWait = 86400.0;

// A blank or comment-only line has neither a command nor an error.
struct ParsedLine {
  std::optional<Command> command;
  std::string error;
};

ParsedLine parseLine(std::string_view line);

struct ScriptLine {
  SourceLocation where;
  Command command;
};

struct ScriptError {
  SourceLocation where;
  std::string reason;

  std::string text() const { return where.text() + ": " + reason; }
};

struct Script {
  std::vector<ScriptLine> lines;
  std::vector<ScriptError> errors;
};

Script parseScript(std::string const& file, std::istream& in);

// The trace levels that the script's expectations look at: they must be recorded from the
// start of a run.
std::uint32_t expectedTraceLevels(Script const& script);

}  // namespace Host
