#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace kr {

using Bytes = std::vector<uint8_t>;
using Strings = std::vector<std::string>;
/// A point in time, UTC, whole seconds.
using Time = std::chrono::sys_seconds;

/// A currency amount: the value times 10000.
struct Currency {
    int64_t scaled = 0;
    bool operator==(const Currency&) const = default;
};

/// Property types, the lower 16 bits of a property tag ([MS-OXCDATA] 2.11.1). The program's own
/// table takes 4 for a double; the embedded store takes both 4 and 5 as an eight-byte double.
enum class PropType : uint16_t {
    Unspecified = 0,
    Short = 2,
    Long = 3,
    Double = 4,
    Double5 = 5,
    Currency = 6,
    Boolean = 11,
    String = 0x1E,
    Unicode = 0x1F,
    Time = 0x40,
    Binary = 0x102,
    StringList = 0x101E,
    UnicodeList = 0x101F
};

/// A property's value. Empty (std::monostate) is neither 0 nor "".
class Value {
public:
    using Variant = std::variant<std::monostate, int16_t, int32_t, Currency, double, bool,
                                 std::string, Time, Bytes, Strings>;

    Value() = default;
    Value(int16_t v) : m_v(v) {}
    Value(int32_t v) : m_v(v) {}
    Value(Currency v) : m_v(v) {}
    Value(double v) : m_v(v) {}
    Value(bool v) : m_v(v) {}
    Value(std::string v) : m_v(std::move(v)) {}
    Value(std::string_view v) : m_v(std::string(v)) {}
    Value(const char* v) : m_v(std::string(v)) {}
    Value(Time v) : m_v(v) {}
    Value(Bytes v) : m_v(std::move(v)) {}
    Value(Strings v) : m_v(std::move(v)) {}

    bool empty() const { return m_v.index() == 0; }
    template <class T>
    bool is() const {
        return std::holds_alternative<T>(m_v);
    }
    /// The value when it is of that type, else nullptr.
    template <class T>
    const T* get() const {
        return std::get_if<T>(&m_v);
    }
    /// The value when it is of that type, else the default: nothing is converted.
    template <class T>
    T valueOr(T fallback) const {
        const T* v = std::get_if<T>(&m_v);
        return v ? *v : fallback;
    }
    /// Any of the two integer types, else the default.
    int32_t integerOr(int32_t fallback) const {
        if (const auto* s = get<int16_t>())
            return *s;
        return valueOr<int32_t>(fallback);
    }
    /// Text when it is text, else "".
    std::string text() const { return valueOr<std::string>({}); }

    const Variant& variant() const { return m_v; }
    bool operator==(const Value&) const = default;

private:
    Variant m_v;
};

} // namespace kr
