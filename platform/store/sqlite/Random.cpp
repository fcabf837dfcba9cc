#include "platform/store/sqlite/Random.h"

#include <sys/random.h>

#include <cstring>

#include "platform/store/Store.h"

namespace kr::sqlite {

std::string RandomBytes(size_t size) {
    std::string bytes(size, '\0');
    if (getrandom(bytes.data(), size, 0) != static_cast<ssize_t>(size))
        throw PlatformError(MAPI_E_CALL_FAILED, "The system gives no random numbers.",
                            "MessageStore");
    return bytes;
}

int64_t RandomNumber() {
    int64_t number = 0;
    const std::string bytes = RandomBytes(sizeof number);
    std::memcpy(&number, bytes.data(), sizeof number);
    return number & INT64_MAX;
}

} // namespace kr::sqlite
