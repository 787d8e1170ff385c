// Marks what a shared library built with hidden default visibility still exports: its entry
// points and its public functions. Everything else stays inside the library, so that another
// module can neither bind to it nor clash with it.
#pragma once

#define ZEL_EXPORT __attribute__((visibility("default")))
