#pragma once

#include <compare>
#include <functional>
#include <string>

namespace kr {

/// An entry id as upper-case hexadecimal text, two digits a byte. Two different texts can name the
/// same object: only RDOStore::CompareEntryIDs tells; == compares the text and serves as map key.
class EntryID {
public:
    EntryID() = default;
    /// Takes text in any case and keeps it in upper case.
    explicit EntryID(std::string_view hex) : m_hex(hex) {
        for (char& c : m_hex)
            if (c >= 'a' && c <= 'f')
                c = static_cast<char>(c - 'a' + 'A');
    }
    const std::string& text() const { return m_hex; }
    bool empty() const { return m_hex.empty(); }
    auto operator<=>(const EntryID&) const = default;

private:
    std::string m_hex;
};

} // namespace kr

template <>
struct std::hash<kr::EntryID> {
    size_t operator()(const kr::EntryID& id) const { return std::hash<std::string>{}(id.text()); }
};
