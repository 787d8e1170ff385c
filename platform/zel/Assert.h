// The framework's assertion failure: the standard assertion message ("<program>: <source>:<line>:
// <function>: Assertion `<expression>' failed.") and abort, in every build type. An agent's
// assertions guard states it cannot continue from, so they stay on in Release builds too.
#pragma once

namespace Zel {

[[noreturn]] void assertionFailed(char const* expression, char const* source, unsigned line,
                                  char const* function) noexcept;

}  // namespace Zel

// The framework's own invariants: checked while NDEBUG is unset, gone from release builds, where
// they would cost on every pointer copy or map operation.
#ifdef NDEBUG
#define ZEL_DEBUG_ASSERT(condition) static_cast<void>(0)
#else
#define ZEL_DEBUG_ASSERT(condition)   \
  ((condition) ? static_cast<void>(0) \
               : ::Zel::assertionFailed(#condition, __FILE__, __LINE__, __func__))
#endif
