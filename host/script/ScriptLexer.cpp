#include "host/script/ScriptLexer.h"

#include <cstdio>

namespace Host {

namespace {

bool isBlank(char c) noexcept {
  return c == ' ' || c == '\t';
}

bool isControl(char c) noexcept {
  auto const byte = static_cast<unsigned char>(c);
  return (byte < 0x20 && c != '\t') || byte == 0x7f;
}

// Well-formed UTF-8 (no overlong forms, surrogates or values past U+10FFFF): scripts are text,
// and names taken from them end up in messages and on the terminal.
bool isUtf8(std::string_view text) noexcept {
  std::size_t i = 0;
  while (i < text.size()) {
    auto const lead = static_cast<unsigned char>(text[i]);
    if (lead < 0x80) {
      ++i;
      continue;
    }
    std::size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xbf;
    if (lead >= 0xc2 && lead <= 0xdf) {
      length = 2;
    } else if (lead >= 0xe0 && lead <= 0xef) {
      length = 3;
      if (lead == 0xe0) low = 0xa0;
      if (lead == 0xed) high = 0x9f;
    } else if (lead >= 0xf0 && lead <= 0xf4) {
      length = 4;
      if (lead == 0xf0) low = 0x90;
      if (lead == 0xf4) high = 0x8f;
    } else {
      return false;
    }
    if (i + length > text.size()) return false;
    for (std::size_t k = 1; k < length; ++k) {
      auto const byte = static_cast<unsigned char>(text[i + k]);
      if (byte < (k == 1 ? low : 0x80) || byte > (k == 1 ? high : 0xbf)) return false;
    }
    i += length;
  }
  return true;
}

std::string describeControl(char c) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
  return std::string("control character ") + text;
}

class Lexer {
 public:
  explicit Lexer(std::string_view line) : line_(line) {}

  LexedLine run() {
    LexedLine result;
    if (line_.size() > kMaxLineLength) {
      result.error = "line longer than " + std::to_string(kMaxLineLength) + " characters";
      return result;
    }
    if (!isUtf8(line_)) {
      result.error = "not UTF-8 text";
      return result;
    }
    while (result.error.empty()) {
      while (pos_ < line_.size() && isBlank(line_[pos_])) ++pos_;
      if (pos_ >= line_.size() || line_[pos_] == '#') break;
      if (line_[pos_] == '"') {
        quoted(result);
      } else {
        word(result);
      }
    }
    if (!result.error.empty()) result.tokens.clear();
    return result;
  }

 private:
  void word(LexedLine& result) {
    std::size_t const start = pos_;
    while (pos_ < line_.size() && !isBlank(line_[pos_]) && line_[pos_] != '#') {
      char const c = line_[pos_];
      if (c == '"') {
        result.error = "quote inside a word (a quoted text must stand on its own)";
        return;
      }
      if (isControl(c)) {
        result.error = describeControl(c);
        return;
      }
      ++pos_;
    }
    result.tokens.push_back({Token::Kind::word, std::string(line_.substr(start, pos_ - start))});
  }

  void quoted(LexedLine& result) {
    ++pos_;  // the opening quote
    std::string text;
    for (;;) {
      if (pos_ >= line_.size()) {
        result.error = "unterminated quoted text";
        return;
      }
      char const c = line_[pos_++];
      if (c == '"') break;
      if (isControl(c)) {
        result.error = describeControl(c) + " in quoted text";
        return;
      }
      if (c != '\\') {
        text += c;
        continue;
      }
      if (pos_ >= line_.size()) {
        result.error = "unterminated quoted text";
        return;
      }
      char const escaped = line_[pos_++];
      if (escaped != '"' && escaped != '\\') {
        result.error = std::string("unknown escape \\") + (isControl(escaped) ? '?' : escaped) +
                       " in quoted text (only \\\" and \\\\)";
        return;
      }
      text += escaped;
    }
    if (pos_ < line_.size() && !isBlank(line_[pos_]) && line_[pos_] != '#') {
      result.error = "quoted text followed by other characters";
      return;
    }
    result.tokens.push_back({Token::Kind::quoted, std::move(text)});
  }

  std::string_view line_;
  std::size_t pos_ = 0;
};

}  // namespace

LexedLine lexLine(std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);  // scripts saved with CRLF
  return Lexer(line).run();
}

}  // namespace Host
