#include "host/script/Executor.h"

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <variant>

#include "host/script/LedLights.h"
#include "host/script/Publisher.h"
#include "host/script/ServerTables.h"
#include "host/script/StatusReport.h"

namespace Host {

namespace {

std::string quoted(std::string const& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + '"';
}

std::string quotedList(std::vector<std::string> const& texts, std::size_t limit) {
  std::string out;
  for (std::size_t i = 0; i < texts.size() && i < limit; ++i) {
    if (i) out += ", ";
    out += quoted(texts[i]);
  }
  if (texts.size() > limit) out += ", ... (" + std::to_string(texts.size() - limit) + " more)";
  return out;
}

std::string describeValue(std::optional<std::uint32_t> value) {
  return value ? std::to_string(*value) : std::string("no such pin");
}

}  // namespace

Executor::Executor(Settings settings, TraceCollector& traces, std::ostream& out,
                   FailureHandler onFailure)
    : settings_(settings),
      traces_(traces),
      out_(out),
      onFailure_(std::move(onFailure)),
      session_(settings.timeSource, [this](std::string const& text) { onRaised(text); }) {
  traces_.epochIs(session_.startTime());
}

Executor::~Executor() = default;

void Executor::startAgent(AgentFactory const& factory, std::string const& name,
                          std::string script) {
  openWindow(SourceLocation{std::move(script), 0});
  if (!settings_.database.url.empty()) {
    std::string error;
    server_ = ServerTables::serverTablesIs(settings_.database, session_, error);
    if (!server_) throw std::runtime_error("database: " + error);
  }
  session_.startAgent(factory, name);
  inspector_ = makeAgentInspector(session_.agent());
}

bool Executor::execute(ScriptLine const& line, bool announcePasses) {
  bool const expectation = isExpectation(line.command);
  if (!expectation) openWindow(line.where);
  std::string const problem =
      std::visit([this](auto const& command) { return run(command); }, line.command);
  if (!problem.empty()) {
    fail(line.where, problem);
  } else if (expectation && announcePasses) {
    out_ << line.where.text() << ": ok\n";
  }
  return !std::holds_alternative<QuitCommand>(line.command);
}

void Executor::endAgent() {
  inspector_.reset();
  session_.agentDel();
}

void Executor::finish() {
  closeWindow();
}

void Executor::openWindow(SourceLocation const& where) {
  closeWindow();
  traces_.forgetBefore(traces_.end());
  window_.open(where, traces_.end());
  windowOpen_ = true;
}

void Executor::closeWindow() {
  if (!windowOpen_) return;
  windowOpen_ = false;
  if (!settings_.failOnUncheckedRaised) return;
  for (std::string const& text : window_.uncheckedRaised()) {
    fail(window_.where(), window_.description() + " made the agent raise " + quoted(text) +
                              " and no 'expect raised' checks it");
  }
}

void Executor::fail(SourceLocation const& where, std::string const& what) {
  ++failures_;
  if (onFailure_) onFailure_(where, what);
}

void Executor::onRaised(std::string const& text) {
  out_ << "agent raised: " << text << '\n';
  out_.flush();
  window_.raised(text);
}

std::string Executor::settleServer() {
  if (server_->settle()) return {};
  return "the database did not answer: the change may not have reached the agent";
}

std::string Executor::run(MappingCommand const& command) {
  if (server_) {
    server_->publish(command);
    return settleServer();
  }
  session_.guarded([&] { publishMapping(session_.mappings(), command); });
  session_.settle();
  return {};
}

std::string Executor::run(LedCommand const& command) {
  if (server_) {
    server_->publish(command);
    return settleServer();
  }
  session_.guarded([&] { publishLed(session_.leds(), command); });
  session_.settle();
  return {};
}

std::string Executor::run(RemoveCommand const& command) {
  bool removed = false;
  bool const mapping = command.what == RemoveCommand::What::mapping;
  if (server_) {
    removed = server_->withdraw(command);
    if (std::string problem = settleServer(); !problem.empty()) return problem;
  } else {
    session_.guarded([&] {
      removed = mapping ? withdrawMapping(session_.mappings(), command.led)
                        : withdrawLed(session_.leds(), command.led);
    });
    session_.settle();
  }
  if (removed) return {};
  return std::string("cannot remove: there is no ") + (mapping ? "mapping" : "led") + " '" +
         command.led + "'";
}

std::string Executor::run(WaitCommand const& command) {
  session_.wait(command.seconds);
  return {};
}

std::string Executor::run(ExpectPinCommand const& command) {
  std::optional<std::uint32_t> const found = pinValue(session_.pins(), Zel::Name(command.pin));
  if (!command.value) {
    if (!session_.pins().entityRef(Zel::Name(command.pin))) return {};
    return "expected no pin " + command.pin + ", found one with value " + describeValue(found);
  }
  if (found == command.value) return {};
  return "expected pin " + command.pin + " = " + std::to_string(*command.value) + ", found " +
         describeValue(found);
}

std::string Executor::run(ExpectMachineCommand const& command) {
  try {
    bool const found = inspector_ && inspector_->hasMachine(Zel::Name(command.led));
    if (found == command.present) return {};
    return std::string("expected ") + (command.present ? "a" : "no") + " state machine for " +
           command.led + ", found " + (found ? "one" : "none");
  } catch (AgentInspector::Unavailable const& unavailable) {
    return unavailable.what();
  }
}

std::string Executor::traceFound(ExpectTraceCommand const& command, std::size_t from) const {
  std::vector<std::string> texts;
  for (std::size_t i = std::max(from, traces_.begin()); i < traces_.end(); ++i) {
    if (traces_.at(i).level == command.level) texts.push_back(traces_.at(i).text);
  }
  if (texts.empty()) return "nothing at level " + std::to_string(command.level);
  return "at level " + std::to_string(command.level) + ": " + quotedList(texts, 6);
}

std::string Executor::run(ExpectTraceCommand const& command) {
  std::string const expected =
      "trace " + std::to_string(command.level) + " " + quoted(command.text);
  if (!traces_.isRecorded(command.level)) {
    return "cannot check " + expected + ": level " + std::to_string(command.level) +
           " was not recorded";
  }
  std::size_t const from =
      std::max(command.present ? window_.traceCursor() : window_.traceStart(), traces_.begin());
  for (std::size_t i = from; i < traces_.end(); ++i) {
    Zel::TraceRecord const& record = traces_.at(i);
    if (record.level != command.level || record.text != command.text) continue;
    if (!command.present) return "expected no " + expected + " from " + window_.description();
    window_.traceCursorIs(i + 1);
    return {};
  }
  if (!command.present) return {};
  std::string const expectedFrom = "expected " + expected + " from " + window_.description();
  if (from == window_.traceStart()) return expectedFrom + "; found " + traceFound(command, from);
  for (std::size_t i = std::max(window_.traceStart(), traces_.begin()); i < from; ++i) {
    Zel::TraceRecord const& record = traces_.at(i);
    if (record.level == command.level && record.text == command.text) {
      return expectedFrom + " after the record matched before; it came before that record";
    }
  }
  return expectedFrom + " after the record matched before; found " + traceFound(command, from);
}

std::string Executor::run(ExpectRaisedCommand const& command) {
  if (window_.checkRaised(command.prefix)) return {};
  std::vector<std::string> texts;
  for (auto const& raised : window_.raisedList()) texts.push_back(raised.text);
  return "expected " + window_.description() + " to make the agent raise " +
         quoted(command.prefix + "...") + "; it raised " +
         (texts.empty() ? std::string("nothing") : quotedList(texts, 4));
}

std::string Executor::run(ShowCommand const& command) {
  switch (command.what) {
    case ShowCommand::What::pins:
      showPins(session_.pins(), out_);
      break;
    case ShowCommand::What::leds:
      showLeds(session_.mappings(), session_.pins(), out_);
      break;
    case ShowCommand::What::agent:
      try {
        if (inspector_) inspector_->describe(out_);
      } catch (AgentInspector::Unavailable const& unavailable) {
        return unavailable.what();
      }
      break;
  }
  out_.flush();
  return {};
}

std::string Executor::run(TraceCommand const& command) {
  traces_.printedLevelsIs(command.facility, command.levels);
  return {};
}

std::string Executor::run(QuitCommand const&) {
  return {};
}

}  // namespace Host
