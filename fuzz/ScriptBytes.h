// Runs arbitrary bytes as a warden script: parsed as `warden check` parses a file, then every
// well-formed line executed against the real agent on a fresh in-memory database in virtual time,
// then the agent torn down. Malformed lines are dropped rather than stopping the run, so that one
// bad byte does not hide the rest of the input from the executor. Both the fuzzer and the replay
// of saved inputs come through here.
#pragma once

#include <cstddef>
#include <cstdint>

namespace WardenFuzz {

// Returns 0; a fault shows as a crash, a sanitizer report or an abort naming the leaked types.
int runScriptBytes(std::uint8_t const* data, std::size_t size);

}  // namespace WardenFuzz
