// What a service writes to standard error. Under journald (standard error is the stream that
// JOURNAL_STREAM names) each line starts with its syslog priority, "<3>" to "<7>", which the
// journal turns into the entry's priority; on a terminal or in a file the lines stay plain.
#pragma once

#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

#include "platform/redis/LogRecord.h"

namespace Host {

// The syslog priorities that warden uses.
enum class LogPriority { error = 3, warning = 4, notice = 5, info = 6, debug = 7 };

// True when standard error is the journal's stream (JOURNAL_STREAM is "DEVICE:INODE" of it),
// not merely inherited by a program started from a service.
bool standardErrorIsJournal();

// Writes every line of what is streamed into it to `out`, prefixed with `prefix`.
class LinePrefixBuffer : public std::streambuf {
 public:
  LinePrefixBuffer(std::ostream& out, std::string prefix);

 protected:
  int_type overflow(int_type character) override;
  int sync() override;

 private:
  std::ostream& out_;
  std::string prefix_;
  bool atLineStart_ = true;
};

class ServiceLog {
 public:
  ServiceLog(std::ostream& out, bool withPriorities);

  void line(LogPriority priority, std::string const& text);
  void error(std::string const& text) { line(LogPriority::error, text); }
  void warning(std::string const& text) { line(LogPriority::warning, text); }
  void notice(std::string const& text) { line(LogPriority::notice, text); }
  void info(std::string const& text) { line(LogPriority::info, text); }
  // A line of the database backend, at the priority of its severity.
  void database(Statedb::Redis::LogRecord const& record);
  // The stream for trace records: debug lines.
  std::ostream& traceStream() noexcept { return traceStream_; }

 private:
  std::ostream& out_;
  bool withPriorities_;
  LinePrefixBuffer traceBuffer_;
  std::ostream traceStream_;
};

}  // namespace Host
