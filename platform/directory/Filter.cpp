#include "core/Text.h"
#include "platform/directory/Directory.h"

namespace kr {

namespace {

constexpr int kMostDepth = 100;

bool isHex(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

void appendEscaped(std::string& out, char c) {
    static constexpr char digits[] = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    out += '\\';
    out += digits[byte >> 4];
    out += digits[byte & 15];
}

bool mustEscape(char c) { return c == '(' || c == ')' || c == '*' || c == '\\' || c == '\0'; }

/// Dotted numbers: "1.2.840".
bool isNumericOid(std::string_view text) {
    bool digit = false;
    for (const char c : text) {
        if (isDigit(c))
            digit = true;
        else if (c == '.' && digit)
            digit = false;
        else
            return false;
    }
    return digit;
}

/// A name or an OID, in an attribute with options behind ";".
bool isDescription(std::string_view text, bool options) {
    if (options) {
        for (size_t at = text.rfind(';'); at != std::string_view::npos; at = text.rfind(';')) {
            const std::string_view option = text.substr(at + 1);
            if (option.empty() || option.find_first_not_of("abcdefghijklmnopqrstuvwxyz"
                                                           "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                                           "0123456789-") != option.npos)
                return false;
            text = text.substr(0, at);
        }
    }
    if (text.empty())
        return false;
    if (!isAlpha(text.front()))
        return isNumericOid(text);
    for (const char c : text)
        if (!isAlpha(c) && !isDigit(c) && c != '-')
            return false;
    return true;
}

/// What stands before ":=": an attribute, ":dn" and a matching rule; attribute or rule may lack.
bool isExtensible(std::string_view text) {
    const auto parts = Split(text, ":");
    size_t next = 1;
    if (next < parts.size() && EqualNoCase(parts[next], "dn"))
        ++next;
    if (next < parts.size() && !isDescription(parts[next++], false))
        return false;
    if (next < parts.size())
        return false;
    if (parts[0].empty())
        return parts.size() > 1 && !EqualNoCase(parts.back(), "dn");
    return isDescription(parts[0], true);
}

/// Recursive descent over the forms that occur in practice; every procedure appends RFC 4515 text.
class FilterReader {
public:
    explicit FilterReader(std::string_view text) : m_text(text) {}

    bool read(std::string& out) {
        if (!component(out, 0, Pair::Top))
            return false;
        skipBlanks();
        return m_at == m_text.size();
    }

private:
    enum class Pair { Top, Inside, BehindNot };

    bool atEnd() const { return m_at >= m_text.size(); }
    char peek() const { return atEnd() ? '\0' : m_text[m_at]; }
    void skipBlanks() {
        while (!atEnd() && isBlank(m_text[m_at]))
            ++m_at;
    }

    /// "(" component ")"
    bool bracketed(std::string& out, int depth) {
        ++m_at;
        if (!component(out, depth, Pair::Inside))
            return false;
        skipBlanks();
        if (peek() != ')')
            return false;
        ++m_at;
        return true;
    }

    /// What may stand inside a pair of parentheses, or without them at the top and behind "!". A
    /// pair around a pair is dropped. `depth` counts the pairs that are read and those that are
    /// added, so that what was written can be read again.
    bool component(std::string& out, int depth, Pair pair) {
        skipBlanks();
        if (peek() == '(')
            return depth < kMostDepth && bracketed(out, depth + 1);
        if (pair != Pair::Inside && ++depth > kMostDepth)
            return false;
        switch (peek()) {
        case '&':
        case '|':
            return list(out, depth);
        case '!':
            ++m_at;
            out += "(!";
            if (!component(out, depth, pair == Pair::Top ? Pair::Top : Pair::BehindNot))
                return false;
            out += ')';
            return true;
        default:
            return item(out, pair == Pair::Top);
        }
    }

    bool list(std::string& out, int depth) {
        out += '(';
        out += m_text[m_at++];
        bool any = false;
        for (skipBlanks(); peek() == '('; skipBlanks()) {
            if (depth >= kMostDepth || !bracketed(out, depth + 1))
                return false;
            any = true;
        }
        out += ')';
        return any;
    }

    /// attribute operator value, up to the closing parenthesis that belongs to the pair around it
    bool item(std::string& out, bool top) {
        const size_t equals = m_text.find('=', m_at);
        if (equals == std::string_view::npos)
            return false;
        std::string_view attribute = m_text.substr(m_at, equals - m_at);
        std::string_view sign = "=";
        if (!attribute.empty() && std::string_view("<>~:").find(attribute.back()) != sign.npos) {
            sign = m_text.substr(equals - 1, 2);
            attribute.remove_suffix(1);
        }
        const std::string name = Trim(attribute);
        if (sign == ":=" ? !isExtensible(name) : !isDescription(name, true))
            return false;
        m_at = equals + 1;
        std::string text;
        if (!value(text, sign == "=", top))
            return false;
        out += '(' + name;
        out += sign;
        out += text + ')';
        return true;
    }

    bool value(std::string& out, bool wildcards, bool top) {
        int open = 0;
        for (; !atEnd(); ++m_at) {
            const char c = m_text[m_at];
            if (c == ')' && open == 0)
                return !top && finishValue(out);
            if (c == '(')
                ++open;
            if (c == ')')
                --open;
            if (!valueCharacter(out, c, wildcards))
                return false;
        }
        return top && open == 0 && finishValue(out);
    }

    bool valueCharacter(std::string& out, char c, bool wildcards) {
        if (c == '*' && wildcards) {
            // neighbouring wildcards mean one
            if (out.empty() || out.back() != '*')
                out += '*';
        } else if (c != '\\') {
            if (mustEscape(c))
                appendEscaped(out, c);
            else
                out += c;
        } else {
            return backslash(out);
        }
        return true;
    }

    /// "\xx" stays; "\(" "\)" "\*" "\\" are the character, as older clients write them.
    bool backslash(std::string& out) {
        const std::string_view rest = m_text.substr(m_at + 1);
        if (rest.size() >= 2 && isHex(rest[0]) && isHex(rest[1])) {
            out += m_text.substr(m_at, 3);
            m_at += 2;
            return true;
        }
        if (rest.empty() || rest[0] == '\0' || !mustEscape(rest[0]))
            return false;
        appendEscaped(out, rest[0]);
        m_at += 1;
        return true;
    }

    /// Servers know a Boolean in capitals only; anything else is Undefined and finds nothing. A
    /// lone wildcard with blanks beside it asks for presence.
    static bool finishValue(std::string& out) {
        const std::string word = Trim(out);
        if (EqualNoCase(word, "TRUE"))
            out = "TRUE";
        else if (EqualNoCase(word, "FALSE"))
            out = "FALSE";
        else if (word == "*")
            out = word;
        return true;
    }

    std::string_view m_text;
    size_t m_at = 0;
};

} // namespace

std::string EscapeFilterValue(std::string_view value) {
    std::string out;
    out.reserve(value.size());
    for (const char c : value) {
        if (mustEscape(c))
            appendEscaped(out, c);
        else
            out += c;
    }
    return out;
}

bool NormalizeFilter(std::string_view filter, std::string& result) {
    const std::string text = Trim(filter);
    std::string out;
    if (!FilterReader(text).read(out))
        return false;
    result = std::move(out);
    return true;
}

} // namespace kr
