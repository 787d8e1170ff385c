// Zel::String: an immutable, counted character string. Copies share one buffer, and the hash is
// computed once when the buffer is made, so strings are cheap to copy, compare and use as keys.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Zel {

class String {
 public:
  String() noexcept = default;
  String(char const* text);
  String(char const* text, std::size_t size);
  String(std::string const& text) : String(text.data(), text.size()) {}
  explicit String(std::string_view text) : String(text.data(), text.size()) {}
  String(String const& other) noexcept : rep_(other.rep_) { retain(); }
  String(String&& other) noexcept : rep_(other.rep_) { other.rep_ = nullptr; }
  ~String() { release(); }

  String& operator=(String const& other) noexcept;
  String& operator=(String&& other) noexcept;
  String& operator=(std::string const& text) { return *this = String(text); }
  String& operator=(char const* text) { return *this = String(text); }

  char const* charPtr() const noexcept { return rep_ ? rep_->data : ""; }
  std::string stdString() const { return std::string(view()); }
  std::string_view view() const noexcept {
    return rep_ ? std::string_view(rep_->data, rep_->size) : std::string_view();
  }
  std::size_t size() const noexcept { return rep_ ? rep_->size : 0; }
  bool empty() const noexcept { return size() == 0; }
  std::size_t hash() const noexcept { return rep_ ? rep_->hash : kEmptyHash; }

  friend bool operator==(String const& a, String const& b) noexcept {
    return a.rep_ == b.rep_ || (a.hash() == b.hash() && a.view() == b.view());
  }
  friend std::strong_ordering operator<=>(String const& a, String const& b) noexcept {
    return a.view() <=> b.view();
  }
  friend bool operator==(String const& a, char const* b) noexcept { return a.view() == b; }

  friend String operator+(String const& a, String const& b);
  friend String operator+(char const* a, String const& b);
  friend String operator+(String const& a, char const* b);

 private:
  struct Rep {
    mutable std::uint32_t references;
    std::uint32_t size;
    std::size_t hash;
    char data[1];
  };
  static constexpr std::size_t kEmptyHash = 0xcbf29ce484222325ull;

  void retain() const noexcept;
  void release() noexcept;
  static Rep* make(char const* text, std::size_t size);

  Rep* rep_ = nullptr;
};

std::ostream& operator<<(std::ostream& out, String const& text);

// printf-style formatting into a String.
String format(char const* pattern, ...) __attribute__((format(printf, 1, 2)));

}  // namespace Zel

template <>
struct std::hash<Zel::String> {
  std::size_t operator()(Zel::String const& s) const noexcept { return s.hash(); }
};
