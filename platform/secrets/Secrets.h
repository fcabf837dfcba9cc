#pragma once

#include <string>
#include <string_view>

namespace kr {

/// The reversible cipher for values at rest. The stored form is private to this system.
class Secrets {
public:
    virtual ~Secrets() = default;
    /// A text that can be stored in a record; different each time. Throws PlatformError when there
    /// is no key and none can be made.
    virtual std::string Encipher(std::string_view text) = 0;
    /// The text again. A value that was never enciphered comes back unchanged; throws PlatformError
    /// for one that was enciphered with another key, or was changed since.
    virtual std::string Decipher(std::string_view stored) = 0;
};

} // namespace kr
