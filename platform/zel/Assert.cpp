#include "platform/zel/Assert.h"

// glibc declares its assertion reporter only while NDEBUG is unset; it exists either way.
extern "C" [[noreturn]] void __assert_fail(char const* assertion, char const* file,
                                           unsigned int line, char const* function) noexcept;

namespace Zel {

void assertionFailed(char const* expression, char const* source, unsigned line,
                     char const* function) noexcept {
  __assert_fail(expression, source, line, function);
}

}  // namespace Zel
