#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kr {

/// Reads the records of delimited text; quoted fields may hold line ends and doubled quotes.
/// `quote` 0: there are no quotes.
class Delimited {
public:
    Delimited(std::string_view text, char delimiter, char quote)
        : m_text(text), m_delimiter(delimiter), m_quote(quote) {}

    /// False at the end. `quoted` tells which fields stood in quotes.
    bool Next(std::vector<std::string>& fields, std::vector<bool>& quoted) {
        fields.clear();
        quoted.clear();
        while (m_at < m_text.size() && isLineEnd())
            ++m_at;
        if (m_at >= m_text.size())
            return false;
        for (;;) {
            fields.emplace_back();
            quoted.push_back(field(fields.back()));
            if (m_at >= m_text.size() || m_text[m_at] != m_delimiter)
                return true;
            ++m_at;
        }
    }

private:
    bool isLineEnd() const { return m_text[m_at] == '\n' || m_text[m_at] == '\r'; }
    bool field(std::string& out) {
        const bool quoted = m_quote != '\0' && m_at < m_text.size() && m_text[m_at] == m_quote;
        if (quoted)
            readQuoted(out);
        while (m_at < m_text.size() && m_text[m_at] != m_delimiter && !isLineEnd())
            out += m_text[m_at++];
        return quoted;
    }
    void readQuoted(std::string& out) {
        for (++m_at; m_at < m_text.size(); ++m_at) {
            if (m_text[m_at] == m_quote) {
                if (m_at + 1 >= m_text.size() || m_text[m_at + 1] != m_quote)
                    break;
                ++m_at;
            }
            out += m_text[m_at];
        }
        if (m_at < m_text.size())
            ++m_at;
    }

    std::string_view m_text;
    char m_delimiter;
    char m_quote;
    size_t m_at = 0;
};

} // namespace kr
