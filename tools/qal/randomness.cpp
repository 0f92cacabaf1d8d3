#include "randomness.hpp"

#include "errors.hpp"

#include <sys/random.h>

#include <cstdlib>

namespace qal::tool {

int system_random(uint8_t *bytes, uint32_t size)
{
    for (uint32_t filled = 0; filled < size;) {
        const ssize_t n = ::getrandom(bytes + filled, size - filled, 0);
        if (n < 0 && errno != EINTR) {
            complain(FileError("getrandom", errno).what());
            std::_Exit(exit_failure);
        }
        if (n > 0)
            filled += static_cast<uint32_t>(n);
    }
    return 0;
}

} // namespace qal::tool
