#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace kr {

class Log;

/// Fills the buffer with random bytes; 0, or the number of the system's error.
using RandomSource = std::function<int(void* buffer, size_t size)>;

/// The kernel's random numbers.
int SystemRandom(void* buffer, size_t size);

/// A new random GUID (version 4) in its usual text form, upper-case and without braces; "" when
/// there is none to be had, which is logged.
std::string GetGUID(const Log& log, const RandomSource& random = SystemRandom);

} // namespace kr
