#pragma once

#include <algorithm>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace kr {

/// Reads the records of delimited text; quoted fields may hold line ends and doubled quotes.
/// `quote` 0: there are no quotes.
class Delimited {
public:
    /// The text is valid until the next record is read.
    struct Field {
        std::string_view text;
        bool quoted = false;
    };

    Delimited(std::string_view text, char delimiter, char quote)
        : m_text(text), m_delimiter(delimiter), m_quote(quote == delimiter ? '\0' : quote) {}

    /// False at the end.
    bool Next(std::vector<Field>& fields) {
        fields.clear();
        m_joined.clear();
        while (m_at < m_text.size() && isLineEnd(m_text[m_at]))
            ++m_at;
        if (m_at >= m_text.size())
            return false;
        for (;;) {
            fields.push_back(field());
            if (m_at >= m_text.size() || m_text[m_at] != m_delimiter)
                return true;
            ++m_at;
        }
    }

private:
    static bool isLineEnd(char c) { return c == '\n' || c == '\r'; }

    /// What stands before the next delimiter or line end.
    std::string_view plain() {
        const size_t begin = m_at;
        while (m_at < m_text.size() && m_text[m_at] != m_delimiter && !isLineEnd(m_text[m_at]))
            ++m_at;
        return m_text.substr(begin, m_at - begin);
    }
    Field field() {
        if (m_quote == '\0' || m_at >= m_text.size() || m_text[m_at] != m_quote)
            return {plain(), false};
        ++m_at;
        std::string_view inside = untilQuote();
        const bool doubled = m_at < m_text.size() && m_text[m_at] == m_quote;
        std::string_view rest = doubled ? std::string_view() : plain();
        if (!doubled && rest.empty())
            return {inside, true};
        // in pieces: a doubled quote within, or text behind the closing one
        std::string& whole = m_joined.emplace_back(inside);
        while (rest.empty() && m_at < m_text.size() && m_text[m_at] == m_quote) {
            ++m_at;
            whole += m_quote;
            whole += untilQuote();
            if (m_at >= m_text.size() || m_text[m_at] != m_quote)
                rest = plain();
        }
        whole += rest;
        return {whole, true};
    }
    /// What stands before the next quote, which is taken.
    std::string_view untilQuote() {
        const size_t begin = m_at;
        const size_t end = std::min(m_text.find(m_quote, begin), m_text.size());
        m_at = std::min(end + 1, m_text.size());
        return m_text.substr(begin, end - begin);
    }

    std::string_view m_text;
    char m_delimiter;
    char m_quote;
    size_t m_at = 0;
    std::deque<std::string>
        m_joined; // fields of the present record that stand nowhere in one piece
};

} // namespace kr
