#pragma once

#include <cstdint>
#include <string>

namespace kr::sqlite {

/// From the system's generator; throws when it gives none.
std::string RandomBytes(size_t size);
/// Never negative.
int64_t RandomNumber();

} // namespace kr::sqlite
