// The framework's failure reports. Misuse is reported by exceptions of these types, raised
// through the throw helpers so that every raiser produces the same type and text.
#pragma once

#include <stdexcept>

#include "platform/zel/String.h"

namespace Zel {

class PtrInterface;

// A required value is missing or out of range ("null ValidPtr" for a null required pointer).
class RangeException : public std::range_error {
 public:
  explicit RangeException(std::string const& text) : std::range_error(text) {}
};

// An object exists under the key already and was built from different construction values.
class NameInUseException : public std::runtime_error {
 public:
  explicit NameInUseException(std::string const& text) : std::runtime_error(text) {}
};

// The generic interface was asked for an operation that the attribute does not allow.
class OperationNotSupportedException : public std::logic_error {
 public:
  explicit OperationNotSupportedException(std::string const& text) : std::logic_error(text) {}
};

[[noreturn]] void throwRangeException(char const* text);
[[noreturn]] void throwNameInUseException(String const& text);
[[noreturn]] void throwOperationNotSupportedException(String const& text);

// The string form of a raw object pointer, as used in the framework's messages: its address in
// hexadecimal ("0x0" for null). Two different objects never share a form.
String valueToStrepOfRawPtr(void const* object);

}  // namespace Zel
