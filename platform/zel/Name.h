// Zel::Name: the key of named entities and keyed collections (LED, pin and agent names). A Name
// is a String with key semantics: hashable, ordered and printable.
#pragma once

#include <iosfwd>
#include <string>

#include "platform/zel/String.h"

namespace Zel {

class Name {
 public:
  Name() noexcept = default;
  Name(char const* text) : text_(text) {}
  Name(char const* text, std::size_t size) : text_(text, size) {}
  Name(std::string const& text) : text_(text) {}
  Name(String text) noexcept : text_(std::move(text)) {}

  String const& string() const noexcept { return text_; }
  char const* charPtr() const noexcept { return text_.charPtr(); }
  std::string stdString() const { return text_.stdString(); }
  std::string_view view() const noexcept { return text_.view(); }
  bool empty() const noexcept { return text_.empty(); }
  std::size_t hash() const noexcept { return text_.hash(); }
  operator String const&() const noexcept { return text_; }

  friend bool operator==(Name const& a, Name const& b) noexcept { return a.text_ == b.text_; }
  friend std::strong_ordering operator<=>(Name const& a, Name const& b) noexcept {
    return a.text_ <=> b.text_;
  }

 private:
  String text_;
};

std::ostream& operator<<(std::ostream& out, Name const& name);

}  // namespace Zel

template <>
struct std::hash<Zel::Name> {
  std::size_t operator()(Zel::Name const& n) const noexcept { return n.hash(); }
};
