#include "platform/database/local/SqlFunctions.h"

#include <sqlite3.h>

#include <string>

#include "core/Text.h"

namespace kr {

namespace {

std::string textOf(sqlite3_value* value) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return text ? std::string(text, static_cast<size_t>(sqlite3_value_bytes(value))) : "";
}

bool isNull(sqlite3_value* value) { return sqlite3_value_type(value) == SQLITE_NULL; }

void give(sqlite3_context* context, const std::string& text) {
    sqlite3_result_text(context, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

size_t nextCharacter(std::string_view text, size_t at) {
    do
        ++at;
    while (at < text.size() && isContinuation(text[at]));
    return at;
}

/// % stands for any text, _ for one character; both texts folded, `escape` may be "".
bool isLike(std::string_view pattern, std::string_view text, std::string_view escape) {
    size_t p = 0, t = 0;
    size_t star = std::string_view::npos, mark = 0;
    while (t < text.size()) {
        const bool escaped = !escape.empty() && pattern.substr(p).starts_with(escape);
        const size_t at = p + (escaped ? escape.size() : 0);
        if (p < pattern.size() && !escaped && pattern[p] == '%') {
            star = ++p;
            mark = t;
        } else if (p < pattern.size() && !escaped && pattern[p] == '_') {
            ++p;
            t = nextCharacter(text, t);
        } else if (at < pattern.size() && pattern[at] == text[t]) {
            p = at + 1;
            ++t;
        } else if (star != std::string_view::npos) {
            p = star;
            mark = nextCharacter(text, mark);
            t = mark;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '%')
        ++p;
    return p == pattern.size();
}

void like(sqlite3_context* context, int count, sqlite3_value** values) {
    if (isNull(values[0]) || isNull(values[1]))
        return sqlite3_result_null(context);
    const std::string escape = count > 2 ? Fold(textOf(values[2])) : "";
    sqlite3_result_int(context,
                       isLike(Fold(textOf(values[0])), Fold(textOf(values[1])), escape) ? 1 : 0);
}

void left(sqlite3_context* context, int, sqlite3_value** values) {
    if (isNull(values[0]))
        return sqlite3_result_null(context);
    const std::string text = textOf(values[0]);
    size_t at = 0;
    for (int64_t n = sqlite3_value_int64(values[1]); n > 0 && at < text.size(); --n)
        at = nextCharacter(text, at);
    give(context, text.substr(0, at));
}

void right(sqlite3_context* context, int, sqlite3_value** values) {
    if (isNull(values[0]))
        return sqlite3_result_null(context);
    const std::string text = textOf(values[0]);
    size_t at = text.size();
    for (int64_t n = sqlite3_value_int64(values[1]); n > 0 && at > 0; --n) {
        do
            --at;
        while (at > 0 && isContinuation(text[at]));
    }
    give(context, text.substr(at));
}

template <std::string (*change)(std::string_view)>
void changed(sqlite3_context* context, int, sqlite3_value** values) {
    if (isNull(values[0]))
        return sqlite3_result_null(context);
    give(context, change(textOf(values[0])));
}

std::string same(std::string_view text) { return std::string(text); }

/// A null as '' or as the second argument.
void nz(sqlite3_context* context, int count, sqlite3_value** values) {
    if (!isNull(values[0]))
        sqlite3_result_value(context, values[0]);
    else if (count > 1)
        sqlite3_result_value(context, values[1]);
    else
        give(context, "");
}

int compare(void*, int sizeA, const void* a, int sizeB, const void* b) {
    return CompareNoCase({static_cast<const char*>(a), static_cast<size_t>(sizeA)},
                         {static_cast<const char*>(b), static_cast<size_t>(sizeB)});
}

using Function = void (*)(sqlite3_context*, int, sqlite3_value**);
struct Entry {
    const char* name;
    int arguments;
    Function call;
};
constexpr Entry kFunctions[] = {{"like", 2, like},
                                {"like", 3, like},
                                {"kr_left", 2, left},
                                {"kr_right", 2, right},
                                {"kr_upper", 1, changed<ToUpper>},
                                {"kr_lower", 1, changed<ToLower>},
                                {"kr_text", 1, changed<same>},
                                {"kr_nz", 1, nz},
                                {"kr_nz", 2, nz}};

} // namespace

void RegisterSqlFunctions(sqlite3* db) {
    for (const Entry& entry : kFunctions)
        sqlite3_create_function(db, entry.name, entry.arguments, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                nullptr, entry.call, nullptr, nullptr);
    sqlite3_create_collation(db, kFoldedCollation, SQLITE_UTF8, nullptr, compare);
}

} // namespace kr
