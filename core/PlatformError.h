#pragma once

#include <stdexcept>
#include <string>

namespace kr {

/// What every seam throws when its world refuses: a number (an HRESULT where the store or the
/// directory has one), a description in the user's words, and the name of the object that failed.
class PlatformError : public std::runtime_error {
public:
    PlatformError(long number, const std::string& description, std::string source = {})
        : std::runtime_error(description), m_number(number), m_source(std::move(source)) {}

    long number() const { return m_number; }
    std::string description() const { return what(); }
    const std::string& source() const { return m_source; }

private:
    long m_number;
    std::string m_source;
};

} // namespace kr
