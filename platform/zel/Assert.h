// The framework's assertion failure: the standard assertion message ("<program>: <source>:<line>:
// <function>: Assertion `<expression>' failed.") and abort, in every build type. An agent's
// assertions guard states it cannot continue from, so they stay on in Release builds too.
#pragma once

namespace Zel {

[[noreturn]] void assertionFailed(char const* expression, char const* source, unsigned line,
                                  char const* function) noexcept;

}  // namespace Zel
