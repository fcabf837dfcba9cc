#pragma once

#include "core/Value.h"

namespace kr {

/// The time of day; tests set it.
class Clock {
public:
    virtual ~Clock() = default;
    virtual Time now() const = 0;
};

class SystemClock : public Clock {
public:
    Time now() const override {
        return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    }
};

} // namespace kr
