#pragma once

namespace kr {

struct Version {
    int major;
    int minor;
    int revision;
};

/// The console's own version.
inline constexpr Version kVersion{4, 0, 0};

/// 3.2 or later: features gated on it read the session's flag and not the version.
constexpr bool IsVersionAtLeast32(Version v) {
    return (v.major == 3 && v.minor >= 2) || v.major >= 4;
}

} // namespace kr
