// Reading a script file: a clear error for a path that is missing, unreadable or not a file,
// instead of an empty script that would pass.
#pragma once

#include <optional>
#include <string>

#include "host/script/ScriptParser.h"

namespace Host {

// The parsed script, or nullopt with `error` saying why the file could not be read.
std::optional<Script> loadScript(std::string const& path, std::string& error);

// The parse errors as they are printed, at most `limit` of them followed by a count of the rest.
std::vector<std::string> errorLines(Script const& script, std::size_t limit = 20);

}  // namespace Host
