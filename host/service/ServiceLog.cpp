#include "host/service/ServiceLog.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace Host {

namespace {

std::string priorityPrefix(LogPriority priority) {
  return "<" + std::to_string(static_cast<int>(priority)) + ">";
}

}  // namespace

bool standardErrorIsJournal() {
  char const* stream = std::getenv("JOURNAL_STREAM");
  if (!stream) return false;
  unsigned long long device = 0;
  unsigned long long inode = 0;
  if (std::sscanf(stream, "%llu:%llu", &device, &inode) != 2) return false;
  struct stat status {};
  if (::fstat(STDERR_FILENO, &status) != 0) return false;
  return status.st_dev == device && status.st_ino == inode;
}

LinePrefixBuffer::LinePrefixBuffer(std::ostream& out, std::string prefix)
    : out_(out), prefix_(std::move(prefix)) {}

LinePrefixBuffer::int_type LinePrefixBuffer::overflow(int_type character) {
  if (traits_type::eq_int_type(character, traits_type::eof()))
    return traits_type::not_eof(character);
  if (atLineStart_) out_ << prefix_;
  char const c = traits_type::to_char_type(character);
  out_.put(c);
  atLineStart_ = c == '\n';
  return out_ ? character : traits_type::eof();
}

int LinePrefixBuffer::sync() {
  out_.flush();
  return out_ ? 0 : -1;
}

ServiceLog::ServiceLog(std::ostream& out, bool withPriorities)
    : out_(out),
      withPriorities_(withPriorities),
      traceBuffer_(out, withPriorities ? priorityPrefix(LogPriority::debug) : ""),
      traceStream_(&traceBuffer_) {}

void ServiceLog::line(LogPriority priority, std::string const& text) {
  if (withPriorities_) out_ << priorityPrefix(priority);
  out_ << "warden: " << text << std::endl;
}

void ServiceLog::database(Statedb::Redis::LogRecord const& record) {
  using Statedb::Redis::Severity;
  switch (record.severity) {
    case Severity::error:
      return line(LogPriority::error, record.text);
    case Severity::warning:
      return line(LogPriority::warning, record.text);
    case Severity::notice:
      return line(LogPriority::notice, record.text);
    case Severity::info:
      return line(LogPriority::info, record.text);
  }
}

}  // namespace Host
