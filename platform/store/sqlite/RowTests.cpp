#include "platform/store/sqlite/RowTests.h"

#include "core/Text.h"

namespace kr::sqlite {

namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

enum class Begins { No, Yes, AskFolded };

/// Whether the text, folded, begins with the wanted one; each character folds by itself, so the
/// first difference among ASCII decides and nothing has to be folded for it.
Begins begins(std::string_view text, std::string_view wanted) {
    for (size_t i = 0; i < wanted.size(); ++i) {
        if (i == text.size())
            return Begins::No;
        if (!isAscii(text[i]))
            return Begins::AskFolded;
        if (lower(text[i]) != wanted[i])
            return Begins::No;
    }
    return Begins::Yes;
}

bool equalFolded(std::string_view text, std::string_view wanted) {
    const Begins start = begins(text, wanted);
    return start == Begins::AskFolded ? Fold(text) == wanted
                                      : start == Begins::Yes && text.size() == wanted.size();
}

bool startsFolded(std::string_view text, std::string_view wanted) {
    const Begins start = begins(text, wanted);
    return start == Begins::AskFolded ? Fold(text).starts_with(wanted) : start == Begins::Yes;
}

bool containsFolded(std::string_view text, std::string_view wanted) {
    for (size_t at = 0; at <= text.size(); ++at) {
        const Begins start = begins(text.substr(at), wanted);
        if (start == Begins::AskFolded)
            return Fold(text.substr(at)).find(wanted) != std::string::npos;
        if (start == Begins::Yes)
            return true;
    }
    return false;
}

void add(const Restriction& restriction, std::vector<RowTest>& tests) {
    if (restriction.kind == Restriction::And) {
        for (const Restriction& part : restriction.parts)
            add(part, tests);
        return;
    }
    RowTest test;
    test.tag = restriction.tag;
    test.level = restriction.fuzzyLevel;
    test.value = restriction.value;
    if (const auto* text = restriction.value.get<std::string>()) {
        test.isText = true;
        test.text = (test.level & FL_IGNORECASE) ? Fold(*text) : *text;
    }
    tests.push_back(std::move(test));
}

} // namespace

std::vector<RowTest> TestsOf(const Restriction& restriction) {
    std::vector<RowTest> tests;
    add(restriction, tests);
    return tests;
}

bool MatchesText(const RowTest& test, std::string_view text) {
    const bool ignoreCase = (test.level & FL_IGNORECASE) != 0;
    switch (test.level & 0xFFFF) {
    case FL_SUBSTRING:
        return ignoreCase ? containsFolded(text, test.text)
                          : text.find(test.text) != std::string_view::npos;
    case FL_PREFIX:
        return ignoreCase ? startsFolded(text, test.text) : text.starts_with(test.text);
    default:
        return ignoreCase ? equalFolded(text, test.text) : text == test.text;
    }
}

bool Matches(const RowTest& test, const TableCell& cell) {
    if (cell.empty())
        return false;
    if (test.isText)
        return cell.isText() && MatchesText(test, cell.bytes);
    return cell.value() == test.value;
}

} // namespace kr::sqlite
