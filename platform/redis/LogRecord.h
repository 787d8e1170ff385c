// A line the backend has to say, weighed where it is said: a host maps the severity to its own
// log's priority and mutes by it, rather than guessing from the words.
#pragma once

#include <functional>
#include <string>

namespace Statedb::Redis {

enum class Severity {
  error,    // something the agent needs will not happen until a person acts
  warning,  // a loss, a refusal or bad data: the agent goes on with what it last knew
  notice,   // a recovery, or a setting the backend changed on the server
  info,     // routine progress, such as the first connection
};

struct LogRecord {
  Severity severity;
  std::string subject;  // the key the line is about, when it is about one
  std::string text;     // the whole line, as written to a log
};

using Log = std::function<void(LogRecord const& record)>;

}  // namespace Statedb::Redis
