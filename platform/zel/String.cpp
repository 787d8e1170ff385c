#include "platform/zel/String.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <ostream>
#include <vector>

#include "platform/zel/PtrInterface.h"

namespace Zel {

namespace {
// FNV-1a: short keys (LED and pin names) dominate, and it needs no seed or table.
std::size_t hashBytes(char const* text, std::size_t size) noexcept {
  std::size_t h = 0xcbf29ce484222325ull;
  for (std::size_t i = 0; i < size; ++i) {
    h ^= static_cast<unsigned char>(text[i]);
    h *= 0x100000001b3ull;
  }
  return h;
}
}  // namespace

String::String(char const* text) : String(text, text ? std::strlen(text) : 0) {}

String::String(char const* text, std::size_t size) : rep_(size ? make(text, size) : nullptr) {}

String::Rep* String::make(char const* text, std::size_t size) {
  void* block = ::operator new(offsetof(Rep, data) + size + 1);
  Rep* rep = static_cast<Rep*>(block);
  rep->references = 1;
  rep->size = static_cast<std::uint32_t>(size);
  rep->hash = hashBytes(text, size);
  std::memcpy(rep->data, text, size);
  rep->data[size] = '\0';
  return rep;
}

void String::retain() const noexcept {
  if (!rep_) return;
  if (enableThreadSafePointers) {
    std::atomic_ref<std::uint32_t>(rep_->references).fetch_add(1, std::memory_order_relaxed);
  } else {
    ++rep_->references;
  }
}

void String::release() noexcept {
  if (!rep_) return;
  std::uint32_t before;
  if (enableThreadSafePointers) {
    before =
        std::atomic_ref<std::uint32_t>(rep_->references).fetch_sub(1, std::memory_order_acq_rel);
  } else {
    before = rep_->references--;
  }
  if (before == 1) ::operator delete(rep_);
  rep_ = nullptr;
}

String& String::operator=(String const& other) noexcept {
  if (rep_ != other.rep_) {
    other.retain();
    release();
    rep_ = other.rep_;
  }
  return *this;
}

String& String::operator=(String&& other) noexcept {
  if (this != &other) {
    release();
    rep_ = other.rep_;
    other.rep_ = nullptr;
  }
  return *this;
}

namespace {
String concat(std::string_view a, std::string_view b) {
  std::string joined;
  joined.reserve(a.size() + b.size());
  joined.append(a).append(b);
  return String(joined);
}
}  // namespace

String operator+(String const& a, String const& b) {
  return concat(a.view(), b.view());
}
String operator+(char const* a, String const& b) {
  return concat(a ? a : "", b.view());
}
String operator+(String const& a, char const* b) {
  return concat(a.view(), b ? b : "");
}

std::ostream& operator<<(std::ostream& out, String const& text) {
  return out << text.view();
}

String format(char const* pattern, ...) {
  char small[256];
  va_list args;
  va_start(args, pattern);
  int needed = std::vsnprintf(small, sizeof small, pattern, args);
  va_end(args);
  if (needed < 0) return String();
  if (static_cast<std::size_t>(needed) < sizeof small) return String(small, needed);
  std::vector<char> big(static_cast<std::size_t>(needed) + 1);
  va_start(args, pattern);
  std::vsnprintf(big.data(), big.size(), pattern, args);
  va_end(args);
  return String(big.data(), needed);
}

}  // namespace Zel

#include "platform/zel/Name.h"

namespace Zel {
std::ostream& operator<<(std::ostream& out, Name const& name) {
  return out << name.view();
}
}  // namespace Zel
