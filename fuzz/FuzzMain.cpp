// libFuzzer's entry point: each input is a script.
#include <cstddef>
#include <cstdint>

#include "fuzz/ScriptBytes.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  return WardenFuzz::runScriptBytes(data, size);
}
