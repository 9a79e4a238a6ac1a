#pragma once

#include <cstdint>

namespace velbench {

// Lines the library has handed to the sink of this process so far. The
// benchmark executables define vw_log_print themselves, which discards every
// line and only counts it, so the figures show the library and not a console.
std::uint64_t loggedLines();

} // namespace velbench
