#include <array>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <utility>

#include "core/Text.h"
#include "platform/database/local/LocalEngine.h"

namespace kr {

namespace {

struct Token {
    enum Kind { Word, Name, Literal, Sign };
    Kind kind = Sign;
    std::string text;
    bool blankBefore = false;
};

bool isWordChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '$' ||
           static_cast<unsigned char>(c) >= 0x80;
}

/// End of the quoted piece that begins at `at`; a doubled quote is part of it.
size_t quotedEnd(std::string_view text, size_t at, char close) {
    for (size_t i = at + 1; i < text.size(); ++i) {
        if (text[i] != close)
            continue;
        if (close == ']' || i + 1 >= text.size() || text[i + 1] != close)
            return i + 1;
        ++i;
    }
    return text.size();
}

/// The text form of #month/day/year time#, or of a date in ISO form; "" when it is no date.
std::string dateText(const std::string& inside) {
    int a = 0, b = 0, c = 0, h = 0, m = 0, s = 0;
    char half[3] = {};
    int year = 0, month = 0, day = 0;
    int used = 0;
    if (std::sscanf(inside.c_str(), "%4d-%2d-%2d%n", &a, &b, &c, &used) == 3)
        year = a, month = b, day = c;
    else if (std::sscanf(inside.c_str(), "%2d/%2d/%4d%n", &a, &b, &c, &used) == 3)
        year = c < 30 ? 2000 + c : c < 100 ? 1900 + c : c, month = a, day = b;
    else
        return {};
    const std::string rest = Trim(std::string_view(inside).substr(static_cast<size_t>(used)));
    const int parts = std::sscanf(rest.c_str(), "%2d:%2d:%2d %2[AaPpMm]", &h, &m, &s, half);
    if (month < 1 || month > 12 || day < 1 || day > 31 || h < 0 || h > 23 || m < 0 || m > 59 ||
        s < 0 || s > 59)
        return {};
    if (half[0] == 'p' || half[0] == 'P')
        h = h % 12 + 12;
    else if (half[0] == 'a' || half[0] == 'A')
        h %= 12;
    std::array<char, 80> out{};
    std::snprintf(out.data(), out.size(), "'%04d-%02d-%02d", year, month, day);
    std::string text = out.data();
    if (parts >= 2) {
        std::snprintf(out.data(), out.size(), " %02d:%02d:%02d", h, m, s);
        text += out.data();
    }
    return text + "'";
}

size_t plainEnd(std::string_view text, size_t at) {
    size_t end = at;
    while (end < text.size() && isWordChar(text[end]))
        ++end;
    return end > at ? end : at + 1;
}

Token tokenAt(std::string_view text, size_t& at) {
    const char c = text[at];
    size_t end = at + 1;
    Token token;
    if (c == '\'' || c == '"' || c == '`' || c == '[') {
        end = quotedEnd(text, at, c == '[' ? ']' : c);
        token.kind = c == '\'' ? Token::Literal : Token::Name;
    } else if (c == '#' && text.find('#', at + 1) != std::string_view::npos) {
        const size_t close = text.find('#', at + 1);
        const std::string date = dateText(Trim(text.substr(at + 1, close - at - 1)));
        if (!date.empty()) {
            at = close + 1;
            return {Token::Literal, date, false};
        }
    } else if (isWordChar(c)) {
        end = plainEnd(text, at);
        token.kind = std::isdigit(static_cast<unsigned char>(c)) ? Token::Literal : Token::Word;
    }
    token.text = text.substr(at, end - at);
    at = end;
    return token;
}

std::vector<Token> tokensOf(std::string_view text) {
    std::vector<Token> tokens;
    bool blank = false;
    for (size_t at = 0; at < text.size();) {
        if (std::isspace(static_cast<unsigned char>(text[at]))) {
            blank = true;
            ++at;
            continue;
        }
        Token token = tokenAt(text, at);
        token.blankBefore = std::exchange(blank, false);
        tokens.push_back(std::move(token));
    }
    while (!tokens.empty() && tokens.back().text == ";")
        tokens.pop_back();
    return tokens;
}

bool isWord(const std::vector<Token>& tokens, size_t at, std::string_view word) {
    return at < tokens.size() && tokens[at].kind == Token::Word &&
           EqualNoCase(tokens[at].text, word);
}
bool isSign(const std::vector<Token>& tokens, size_t at, std::string_view sign) {
    return at < tokens.size() && tokens[at].kind == Token::Sign && tokens[at].text == sign;
}

/// FROM people.csv and FROM people#csv become FROM [people.csv].
void bracketFiles(std::vector<Token>& tokens) {
    for (size_t i = 0; i + 3 < tokens.size(); ++i) {
        if (!isWord(tokens, i, "from") && !isWord(tokens, i, "join"))
            continue;
        const bool joined = isSign(tokens, i + 2, ".") || isSign(tokens, i + 2, "#");
        bool known = false;
        for (const char* extension : {"csv", "txt", "tab", "asc"})
            known = known || isWord(tokens, i + 3, extension);
        if (tokens[i + 1].kind == Token::Sign || tokens[i + 1].kind == Token::Name || !joined ||
            !known || tokens[i + 2].blankBefore || tokens[i + 3].blankBefore)
            continue;
        tokens[i + 1].text = "[" + tokens[i + 1].text + "." + tokens[i + 3].text + "]";
        tokens[i + 1].kind = Token::Name;
        const auto first = tokens.begin() + static_cast<std::ptrdiff_t>(i) + 2;
        tokens.erase(first, first + 2);
    }
}

/// SELECT TOP n moves to a LIMIT at the end of its own SELECT; DISTINCTROW goes.
void moveTop(std::vector<Token>& tokens) {
    std::vector<std::string> limits(1);
    std::vector<Token> out;
    const auto flush = [&] {
        if (!limits.back().empty())
            out.push_back({Token::Sign, "LIMIT " + limits.back(), true});
    };
    for (size_t i = 0; i < tokens.size(); ++i) {
        const bool digits = i + 1 < tokens.size() && tokens[i + 1].kind == Token::Literal;
        if (isSign(tokens, i, "("))
            limits.emplace_back();
        if (isSign(tokens, i, ")") && limits.size() > 1) {
            flush();
            limits.pop_back();
        }
        if (isWord(tokens, i, "distinctrow"))
            continue;
        if (isWord(tokens, i, "top") && digits && i > 0 &&
            (isWord(tokens, i - 1, "select") || isWord(tokens, i - 1, "distinct") ||
             isWord(tokens, i - 1, "distinctrow"))) {
            limits.back() = tokens[++i].text;
            continue;
        }
        out.push_back(tokens[i]);
    }
    flush();
    tokens = std::move(out);
}

void renameFunctions(std::vector<Token>& tokens) {
    static constexpr std::pair<const char*, const char*> kNames[] = {
        {"left", "kr_left"},   {"right", "kr_right"}, {"mid", "substr"}, {"len", "length"},
        {"ucase", "kr_upper"}, {"lcase", "kr_lower"}, {"nz", "kr_nz"},   {"cstr", "kr_text"}};
    for (size_t i = 0; i + 1 < tokens.size(); ++i)
        for (const auto& [from, to] : kNames)
            if (isWord(tokens, i, from) && isSign(tokens, i + 1, "("))
                tokens[i].text = to;
}

size_t operandStart(const std::vector<Token>& tokens, size_t last) {
    size_t at = last;
    if (isSign(tokens, at, ")")) {
        for (int depth = 0;; --at) {
            depth += isSign(tokens, at, ")") ? 1 : isSign(tokens, at, "(") ? -1 : 0;
            if (depth == 0 || at == 0)
                break;
        }
        if (at > 0 && tokens[at - 1].kind == Token::Word && !tokens[at].blankBefore)
            --at;
    }
    while (at >= 2 && isSign(tokens, at - 1, "."))
        at -= 2;
    return at;
}

size_t operandEnd(const std::vector<Token>& tokens, size_t first) {
    size_t at = first;
    while (at + 2 < tokens.size() && isSign(tokens, at + 1, "."))
        at += 2;
    const bool call = tokens[at].kind == Token::Word && isSign(tokens, at + 1, "(");
    if (call)
        ++at;
    if (!isSign(tokens, at, "("))
        return at;
    for (int depth = 0; at < tokens.size(); ++at) {
        depth += isSign(tokens, at, "(") ? 1 : isSign(tokens, at, ")") ? -1 : 0;
        if (depth == 0)
            return at;
    }
    return tokens.size() - 1;
}

/// a & b becomes a || b, where a null counts as ''.
void joinTexts(std::vector<Token>& tokens) {
    std::vector<bool> opens(tokens.size()), closes(tokens.size());
    for (size_t i = 1; i + 1 < tokens.size(); ++i) {
        if (!isSign(tokens, i, "&"))
            continue;
        const size_t start = operandStart(tokens, i - 1);
        const size_t end = operandEnd(tokens, i + 1);
        opens[start] = closes[i - 1] = opens[i + 1] = closes[end] = true;
        tokens[i].text = "||";
    }
    for (size_t i = 0; i < tokens.size(); ++i) {
        if (opens[i])
            tokens[i].text = "ifnull(" + tokens[i].text;
        if (closes[i])
            tokens[i].text += ",'')";
    }
}

/// The name that a token is; "" when it is none.
std::string nameOf(const Token& token) {
    if (token.kind == Token::Word)
        return token.text;
    if (token.kind != Token::Name || token.text.size() < 3)
        return {};
    const std::string inside = token.text.substr(1, token.text.size() - 2);
    const char quote = token.text.front();
    return quote == '[' ? inside : ReplaceAll(inside, std::string(2, quote), std::string(1, quote));
}

/// TOP n at `at`, which is moved behind it.
bool readTop(const std::vector<Token>& tokens, size_t& at, int64_t& most) {
    if (!isWord(tokens, at, "top"))
        return true;
    if (at + 1 >= tokens.size())
        return false;
    const std::string& number = tokens[at + 1].text;
    const auto read = std::from_chars(number.data(), number.data() + number.size(), most);
    at += 2;
    return read.ec == std::errc() && read.ptr == number.data() + number.size() && most > 0;
}

} // namespace

std::optional<PlainSelect> ReadPlainSelect(std::string_view query) {
    std::vector<Token> tokens = tokensOf(query);
    bracketFiles(tokens);
    PlainSelect plain;
    size_t at = 1;
    if (!isWord(tokens, 0, "select") || !readTop(tokens, at, plain.most))
        return {};
    if (isSign(tokens, at, "*")) {
        ++at;
    } else {
        for (bool more = true; more; ++at) {
            if (at >= tokens.size() || nameOf(tokens[at]).empty())
                return {};
            plain.columns.push_back(nameOf(tokens[at]));
            more = isSign(tokens, at + 1, ",");
            at += more ? 1 : 0;
        }
    }
    // anything behind the table's name makes it a query for the engine
    if (!isWord(tokens, at, "from") || at + 2 != tokens.size())
        return {};
    plain.table = nameOf(tokens[at + 1]);
    if (plain.table.empty())
        return {};
    return plain;
}

std::string TranslateDialect(std::string_view query) {
    std::vector<Token> tokens = tokensOf(query);
    bracketFiles(tokens);
    moveTop(tokens);
    renameFunctions(tokens);
    joinTexts(tokens);
    std::string out;
    for (const Token& token : tokens)
        out += (token.blankBefore && !out.empty() ? " " : "") + token.text;
    return out;
}

} // namespace kr
