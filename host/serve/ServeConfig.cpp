#include "host/serve/ServeConfig.h"

#include <toml++/toml.h>
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <sstream>

namespace Host {

namespace {

// Each option of the file is checked alone as one of serve's, which takes every option.
constexpr char kServeCommand[] = "serve";
// What a running service takes up on SIGHUP.
constexpr char const* kReloadedOptions[] = {"--trace=", "--lamp-test-seconds="};

class ConfigError {
 public:
  ConfigError(int line, std::string what) : line_(line), what_(std::move(what)) {}
  std::string located(std::string const& path) const {
    return path + ":" + std::to_string(line_) + ": " + what_;
  }

 private:
  int line_;
  std::string what_;
};

int lineOf(toml::source_region const& region) {
  return static_cast<int>(region.begin.line);
}

// The text an option takes from one TOML value; booleans are flags and have none.
std::string optionValue(std::string const& key, toml::node const& value) {
  if (auto const* text = value.as_string()) return text->get();
  if (auto const* number = value.as_integer()) return std::to_string(number->get());
  if (auto const* number = value.as_floating_point()) {
    // The shortest text that reads back as the same number: 0.5, not 0.500000.
    char buffer[32];
    auto const end = std::to_chars(buffer, buffer + sizeof buffer, number->get()).ptr;
    return std::string(buffer, end);
  }
  throw ConfigError(lineOf(value.source()), "'" + key + "' needs a string, a number or true/false");
}

void addOption(std::string const& key, toml::node const& value,
               std::vector<ConfigArgument>& arguments) {
  int const line = lineOf(value.source());
  std::string argument = "--" + key;
  if (auto const* flag = value.as_boolean()) {
    if (!flag->get()) return;  // an option that is off is simply not given
  } else {
    argument += "=" + optionValue(key, value);
  }
  // Each option is checked on its own, so that a wrong one is refused at its own line.
  ParsedOptions const alone = parseOptions({kServeCommand, argument});
  if (alone.error.starts_with("unknown option")) {
    throw ConfigError(line, "unknown key '" + key + "' (the keys are warden's long option names)");
  }
  if (!alone.error.empty()) throw ConfigError(line, alone.error);
  arguments.push_back({std::move(argument), line});
}

std::vector<ConfigArgument> configArguments(toml::table const& table) {
  std::vector<ConfigArgument> arguments;
  for (auto const& [tomlKey, value] : table) {
    std::string const key(tomlKey.str());
    int const line = lineOf(tomlKey.source());
    if (key == "config") throw ConfigError(line, "a configuration cannot name another one");
    if (value.is_table()) throw ConfigError(line, "'" + key + "' is a table, not an option");
    if (auto const* list = value.as_array()) {
      for (toml::node const& element : *list) {
        if (element.is_array() || element.is_table()) {
          throw ConfigError(lineOf(element.source()), "'" + key + "' takes a list of values");
        }
        addOption(key, element, arguments);
      }
      continue;
    }
    addOption(key, value, arguments);
  }
  return arguments;
}

// The file may hold what the command needs (drive's --db and --pins): the command line is first
// read for --config as serve's, which needs no option.
ParsedOptions parsedAsServe(std::vector<std::string> commandLine) {
  if (!commandLine.empty()) commandLine[0] = kServeCommand;
  return parseOptions(commandLine);
}

}  // namespace

ConfigRead readConfig(std::string const& path) {
  ConfigRead read;
  std::ifstream file(path);
  if (!file) {
    read.error = path + ": cannot read the configuration: " + std::strerror(errno);
    return read;
  }
  std::ostringstream text;
  text << file.rdbuf();
  try {
    toml::table const table = toml::parse(text.str(), path);
    read.arguments = configArguments(table);
  } catch (toml::parse_error const& error) {
    read.error = path + ":" + std::to_string(lineOf(error.source())) + ": " +
                 std::string(error.description());
  } catch (ConfigError const& error) {
    read.error = error.located(path);
  }
  return read;
}

ParsedOptions loadServiceOptions(std::vector<std::string> const& commandLine) {
  ParsedOptions const given = parsedAsServe(commandLine);
  if (!given.error.empty() || given.options.configPath.empty()) return parseOptions(commandLine);
  ConfigRead const read = readConfig(given.options.configPath);
  if (!read.error.empty()) return {given.options, read.error};
  std::vector<std::string> combined{commandLine.front()};
  for (ConfigArgument const& option : read.arguments) combined.push_back(option.argument);
  combined.insert(combined.end(), commandLine.begin() + 1, commandLine.end());
  return parseOptions(combined);
}

std::string optionPlace(std::vector<std::string> const& commandLine, std::string const& name) {
  std::string const option = "--" + name;
  for (std::string const& argument : commandLine) {
    if (argument == option || argument.starts_with(option + "=")) return "";
  }
  std::string const path = parsedAsServe(commandLine).options.configPath;
  if (path.empty()) return "";
  std::string place;
  for (ConfigArgument const& given : readConfig(path).arguments) {
    if (given.argument.starts_with(option + "=")) {
      place = path + ":" + std::to_string(given.line) + ": ";
    }
  }
  return place;
}

std::vector<std::string> restartOnlyArguments(ConfigRead const& read) {
  std::vector<std::string> arguments;
  for (ConfigArgument const& option : read.arguments) {
    bool const reloaded =
        std::any_of(std::begin(kReloadedOptions), std::end(kReloadedOptions),
                    [&option](char const* prefix) { return option.argument.starts_with(prefix); });
    if (!reloaded) arguments.push_back(option.argument);
  }
  return arguments;
}

}  // namespace Host
