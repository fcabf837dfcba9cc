#include "core/modGUID.h"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cstdint>

#include "core/Log.h"
#include "core/Text.h"

namespace kr {

int SystemRandom(void* buffer, size_t size) {
    auto* at = static_cast<uint8_t*>(buffer);
    while (size > 0) {
        const ssize_t n = getrandom(at, size, 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return errno;
        at += n;
        size -= static_cast<size_t>(n);
    }
    return 0;
}

std::string GetGUID(const Log& log, const RandomSource& random) {
    std::array<uint8_t, 16> bytes{};
    if (const int result = random(bytes.data(), bytes.size()); result != 0) {
        log("modGUID: GetGUID: failed to generate GUID:" + std::to_string(result));
        return {};
    }
    bytes[6] = static_cast<uint8_t>(0x40 | (bytes[6] & 0x0F)); // version 4: random
    bytes[8] = static_cast<uint8_t>(0x80 | (bytes[8] & 0x3F)); // variant of RFC 4122
    std::string text = HexOf(bytes.data(), bytes.size());
    for (const size_t dash : {8U, 13U, 18U, 23U})
        text.insert(dash, 1, '-');
    return text;
}

} // namespace kr
