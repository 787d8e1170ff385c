// What the last command that was not an expectation did, as the expectations after it see it:
// where it came from, where its trace records start, how far ordered `expect trace` lines have
// got, and the exceptions that the agent raised while it ran.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/script/SourceLocation.h"

namespace Host {

class CommandWindow {
 public:
  struct Raised {
    std::string text;
    bool checked = false;
  };

  // A new command starts; its trace records are numbered from `traceStart`.
  void open(SourceLocation where, std::size_t traceStart);

  SourceLocation const& where() const noexcept { return where_; }
  // "the command at line 12", or "the agent's start-up" before the first command.
  std::string description() const;

  std::size_t traceStart() const noexcept { return traceStart_; }
  // Where the next ordered `expect trace` starts looking.
  std::size_t traceCursor() const noexcept { return traceCursor_; }
  void traceCursorIs(std::size_t cursor) noexcept { traceCursor_ = cursor; }

  void raised(std::string text);
  std::vector<Raised> const& raisedList() const noexcept { return raised_; }
  // Marks an exception whose text begins with `prefix` as checked, preferring one that no
  // expectation has checked yet. False when none matches.
  bool checkRaised(std::string_view prefix);
  std::vector<std::string> uncheckedRaised() const;

 private:
  SourceLocation where_;
  std::size_t traceStart_ = 0;
  std::size_t traceCursor_ = 0;
  std::vector<Raised> raised_;
};

}  // namespace Host
