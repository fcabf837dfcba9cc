#include <algorithm>

#include "core/Text.h"
#include "platform/registry/regfile/RegText.h"
#include "platform/registry/regfile/RegWide.h"

namespace kr {

namespace {

constexpr long kBadFormat = 1009; // the registry database is corrupt

struct HiveName {
    std::string_view given;
    std::string_view path;
};
constexpr HiveName kHives[] = {
    {"HKEY_CURRENT_USER", "HKEY_CURRENT_USER"},
    {"HKCU", "HKEY_CURRENT_USER"},
    {"HKEY_LOCAL_MACHINE", "HKEY_LOCAL_MACHINE"},
    {"HKLM", "HKEY_LOCAL_MACHINE"},
    {"HKEY_CLASSES_ROOT", "HKEY_LOCAL_MACHINE\\Software\\Classes"},
    {"HKCR", "HKEY_LOCAL_MACHINE\\Software\\Classes"},
};

std::string decodeFile(std::string_view content) {
    if (content.starts_with("\xFF\xFE"))
        return Utf8FromUtf16(content.substr(2));
    if (content.starts_with("\xFE\xFF"))
        return Utf8FromUtf16(content.substr(2), true);
    if (content.starts_with("\xEF\xBB\xBF"))
        content.remove_prefix(3);
    return std::string(content);
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Walks the text with one place of look-ahead; every failure throws with the line's number.
class Parser {
public:
    Parser(std::string_view text, RegSink& sink) : m_text(text), m_sink(sink) {}
    void Run();

private:
    bool atEnd() const { return m_at >= m_text.size(); }
    char peek() const { return atEnd() ? '\0' : m_text[m_at]; }
    bool take(char c) {
        if (atEnd() || peek() != c)
            return false;
        ++m_at;
        return true;
    }
    bool takeWord(std::string_view word) {
        if (!StartsWithNoCase(m_text.substr(m_at, word.size()), word))
            return false;
        m_at += word.size();
        return true;
    }
    void skipBlanks() {
        while (!atEnd() && (peek() == ' ' || peek() == '\t'))
            ++m_at;
    }
    std::string_view restOfLine();
    void endLine();
    [[noreturn]] void fail(const char* why) const;

    void readHeader();
    void readKey();
    void readValue();
    std::string readQuoted();
    RegValue readData();
    uint32_t readNumber(size_t maxDigits);
    Bytes readBytes();
    bool continueLine();

    std::string_view m_text;
    RegSink& m_sink;
    size_t m_at = 0;
    bool m_haveKey = false;
    bool m_skipKey = false; // the key was deleted: its values mean nothing
};

void Parser::fail(const char* why) const {
    const auto upTo = m_text.substr(0, std::min(m_at, m_text.size()));
    const auto line = 1 + std::count(upTo.begin(), upTo.end(), '\n');
    throw PlatformError(kBadFormat, "line " + std::to_string(line) + ": " + why, "Registry");
}

std::string_view Parser::restOfLine() {
    const size_t end = std::min(m_text.find('\n', m_at), m_text.size());
    std::string_view line = m_text.substr(m_at, end - m_at);
    m_at = std::min(end + 1, m_text.size());
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return line;
}

/// Behind data only blanks and a comment may follow.
void Parser::endLine() {
    skipBlanks();
    if (!atEnd() && peek() != ';' && peek() != '\r' && peek() != '\n')
        fail("unexpected text behind the data");
    restOfLine();
}

void Parser::readHeader() {
    const bool good = Trim(restOfLine()) == kRegHeader;
    if (good)
        return;
    m_at = 0;
    fail("not a registry text of version 5.00");
}

void Parser::readKey() {
    const size_t start = m_at;
    std::string_view line = restOfLine();
    const size_t close = line.rfind(']');
    if (close == std::string_view::npos) {
        m_at = start;
        fail("the key's name is not closed");
    }
    std::string_view path = line.substr(0, close);
    m_skipKey = path.starts_with('-');
    if (m_skipKey)
        path.remove_prefix(1);
    const std::string canonical = CanonicalRegPath(path);
    // A name that begins with "-" would be read as a removal when it is written again.
    if (canonical.empty() || canonical.starts_with('-') ||
        path.find('\0') != std::string_view::npos)
        fail("a key without a name");
    if (static_cast<size_t>(std::count(canonical.begin(), canonical.end(), '\\')) >= kRegMaxDepth)
        fail("keys nested too deeply");
    m_haveKey = true;
    if (m_skipKey)
        m_sink.OnDeleteKey(canonical);
    else
        m_sink.OnKey(canonical);
}

std::string Parser::readQuoted() {
    std::string out;
    for (;;) {
        if (atEnd())
            fail("a text without its closing quote");
        const char c = m_text[m_at++];
        if (c == '"')
            return out;
        if (c == '\\' && (peek() == '\\' || peek() == '"'))
            out += m_text[m_at++];
        else
            out += c; // a line break inside quotes is part of the text
    }
}

uint32_t Parser::readNumber(size_t maxDigits) {
    const size_t start = m_at;
    uint32_t number = 0;
    for (; !atEnd() && m_at - start < maxDigits && hexDigit(peek()) >= 0; ++m_at)
        number = number << 4 | static_cast<uint32_t>(hexDigit(peek()));
    if (m_at == start)
        fail("hexadecimal digits expected");
    return number;
}

/// A backslash at the end of a line goes on with the bytes on the next one.
bool Parser::continueLine() {
    if (!take('\\'))
        return false;
    skipBlanks();
    if (peek() != '\r' && peek() != '\n' && !atEnd())
        fail("text behind a continuation mark");
    restOfLine();
    skipBlanks();
    return true;
}

Bytes Parser::readBytes() {
    Bytes out;
    for (;;) {
        skipBlanks();
        if (continueLine())
            continue;
        if (hexDigit(peek()) < 0)
            return out;
        out.push_back(static_cast<uint8_t>(readNumber(2)));
        skipBlanks();
        if (continueLine())
            continue;
        if (!take(','))
            return out;
    }
}

RegValue Parser::readData() {
    RegValue value;
    if (take('"')) {
        value.type = RegType::Sz;
        value.text = readQuoted();
    } else if (takeWord("dword:")) {
        value.type = RegType::Dword;
        value.number = readNumber(8);
    } else if (takeWord("hex:")) {
        value = RegValueFromBytes(static_cast<uint32_t>(RegType::Binary), readBytes());
    } else if (takeWord("hex(")) {
        const uint32_t type = readNumber(8);
        if (!take(')') || !take(':'))
            fail("a type is written hex(n):");
        value = RegValueFromBytes(type, readBytes());
    } else {
        fail("data of an unknown form");
    }
    return value;
}

void Parser::readValue() {
    if (!m_haveKey)
        fail("a value before the first key");
    const bool isDefault = take('@');
    if (!isDefault && !take('"'))
        fail("a line that is neither key nor value");
    const std::string name = isDefault ? std::string() : readQuoted();
    skipBlanks();
    if (!take('='))
        fail("a value without data");
    skipBlanks();
    if (take('-')) {
        if (!m_skipKey)
            m_sink.OnDeleteValue(name);
    } else if (RegValue value = readData(); !m_skipKey) {
        m_sink.OnValue(name, std::move(value));
    }
    endLine();
}

void Parser::Run() {
    readHeader();
    for (;;) {
        while (!atEnd() && (peek() == ' ' || peek() == '\t' || peek() == '\r' || peek() == '\n'))
            ++m_at;
        if (atEnd())
            return;
        if (peek() == ';')
            restOfLine();
        else if (take('['))
            readKey();
        else
            readValue();
    }
}

} // namespace

std::string CanonicalRegPath(std::string_view path) {
    std::vector<std::string> parts = Split(path, "\\");
    std::erase_if(parts, [](const std::string& part) { return part.empty(); });
    if (parts.empty())
        return {};
    for (const HiveName& hive : kHives) {
        if (EqualNoCase(parts.front(), hive.given)) {
            parts.front() = hive.path;
            break;
        }
    }
    return Join(parts, "\\");
}

void ParseRegText(std::string_view content, RegSink& sink) {
    if (content.size() > kRegMaxText)
        throw PlatformError(kBadFormat, "the text is too long", "Registry");
    const std::string text = decodeFile(content);
    Parser(text, sink).Run();
}

} // namespace kr
