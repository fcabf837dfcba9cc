#pragma once

#include <string>

#include "platform/services/Services.h"

namespace kr {

/// The count of frmServiceStatus: ticks of 250 ms, 100 of them a cycle of 25 seconds.
class ServiceWait {
public:
    static constexpr int kTicks = 100;

    explicit ServiceWait(SvcState target) : m_target(target) {}

    /// One tick of StatusTimer: the bar's value, and whether the state is to be read now. The
    /// reading belongs to the cycle that `cycles` tells then.
    struct Tick {
        int bar = 0;
        bool read = false;
        int cycles = 1;
    };
    Tick Next();

    enum class Verdict { Wait, Done, Kill };
    struct Judgement {
        Verdict verdict = Verdict::Wait;
        std::string log; // "" for none
    };
    /// What a state means at that cycle.
    Judgement Judge(SvcState state, int cycles) const;

private:
    SvcState m_target;
    int m_ticks = 0;
    int m_cycles = 1;
};

} // namespace kr
