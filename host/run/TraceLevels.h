// Trace levels as the `trace` command and --trace take them: "0-9", "3,6,8", "all" or "none".
#pragma once

#include <cstdint>
#include <string>

namespace Host {

// False (and `levels` unchanged) for text that names no level set.
bool parseTraceLevelList(std::string const& text, std::uint32_t& levels);

}  // namespace Host
