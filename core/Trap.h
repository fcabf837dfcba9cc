#pragma once

#include <exception>
#include <string>
#include <type_traits>

#include "core/PlatformError.h"

namespace kr {

/// What a trapped failure was, in the words of the log: number and description.
struct Trapped {
    long number = 0;
    std::string description;
    std::string text() const { return std::to_string(number) + " " + description; }
};

/// Runs `work` and keeps every exception from leaving the procedure: on one, `failed` hears what it
/// was, and the result is the type's empty value. This is the one place where exceptions end.
template <class Work, class Failed>
auto Trap(Work work, Failed failed) -> decltype(work()) {
    try {
        return work();
    } catch (const PlatformError& error) {
        failed(Trapped{error.number(), error.description()});
    } catch (const std::exception& error) {
        failed(Trapped{0, error.what()});
    }
    if constexpr (!std::is_void_v<decltype(work())>)
        return {};
}

/// For failures that are silent on purpose: the caller gets the empty value and decides.
template <class Work>
auto TrapSilently(Work work) -> decltype(work()) {
    return Trap(work, [](const Trapped&) {});
}

} // namespace kr
