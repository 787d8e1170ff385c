// Splits one script line into words and quoted texts. `#` outside quotes ends the line; a quoted
// text may hold \" and \\ and nothing else escaped; control characters are refused anywhere, so
// that a binary file fails on its first line instead of producing strange names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Host {

struct Token {
  enum class Kind { word, quoted };
  Kind kind = Kind::word;
  std::string text;
};

struct LexedLine {
  std::vector<Token> tokens;
  std::string error;  // empty when the line was well formed

  bool ok() const noexcept { return error.empty(); }
};

inline constexpr std::size_t kMaxLineLength = 4096;

LexedLine lexLine(std::string_view line);

}  // namespace Host
