#include "platform/zel/Exception.h"

#include <cinttypes>
#include <cstdint>

namespace Zel {

void throwRangeException(char const* text) {
  throw RangeException(text ? text : "");
}

void throwNameInUseException(String const& text) {
  throw NameInUseException(text.stdString());
}

void throwOperationNotSupportedException(String const& text) {
  throw OperationNotSupportedException(text.stdString());
}

String valueToStrepOfRawPtr(void const* object) {
  return format("0x%" PRIxPTR, reinterpret_cast<std::uintptr_t>(object));
}

}  // namespace Zel
