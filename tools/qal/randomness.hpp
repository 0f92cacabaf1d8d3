// Random bytes from the system.
#pragma once

#include <cstdint>

namespace qal::tool {

// size bytes of getrandom(2), in the form of the library's random sources; 0. Where there are none
// the program ends with a message: the library has no way to go on, nor to say so.
int system_random(uint8_t *bytes, uint32_t size);

} // namespace qal::tool
