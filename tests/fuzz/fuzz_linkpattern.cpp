#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/Text.h"
#include "push/PushContent.h"

// What the patterns mean, written out by hand without any regular expression.
namespace {

constexpr size_t kNone = std::string_view::npos;
constexpr size_t kLongestChecked = 4096; // the checker is quadratic on purpose

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

bool at(std::string_view text, size_t place, std::string_view word) {
    return place <= text.size() && text.size() - place >= word.size() &&
           std::equal(word.begin(), word.end(), text.begin() + static_cast<std::ptrdiff_t>(place),
                      [](char a, char b) { return a == lower(b); });
}

size_t behindBlanks(std::string_view text, size_t place) {
    while (place < text.size() && isBlank(text[place]))
        ++place;
    return place;
}

/// `= "value"` or with single quotes; gives the place behind it.
size_t value(std::string_view text, size_t place, bool isLink, std::string_view& found) {
    place = behindBlanks(text, place);
    if (place >= text.size() || text[place] != '=')
        return kNone;
    place = behindBlanks(text, place + 1);
    if (place >= text.size() || (text[place] != '"' && text[place] != '\''))
        return kNone;
    const size_t end = text.find(text[place], place + 1);
    if (end == kNone)
        return kNone;
    for (const std::string_view other : {"javascript:", "mailto:", "#", "file:"})
        if (isLink && at(text, place + 1, other))
            return kNone;
    found = text.substr(place + 1, end - place - 1);
    return end + 1;
}

size_t link(std::string_view text, size_t place, std::string_view& found) {
    if (!at(text, place, "<a"))
        return kNone;
    const size_t end = std::min(text.find('>', place + 2), text.size());
    for (size_t href = end; href >= place + 2; --href)
        if (at(text, href, "href"))
            if (const size_t behind = value(text, href + 4, true, found); behind != kNone)
                return behind;
    return kNone;
}

/// Bytes of the one character between the tag and its first attribute.
std::vector<size_t> characters(std::string_view text, size_t place) {
    if (place >= text.size() || text[place] == '>')
        return {};
    const auto byte = [&](size_t i) {
        return place + i < text.size() ? static_cast<unsigned char>(text[place + i]) : 0U;
    };
    const auto more = [&](size_t i) { return byte(i) >= 0x80 && byte(i) <= 0xBF; };
    if (byte(0) < 0x80)
        return {1};
    if (byte(0) >= 0xC2 && byte(0) <= 0xDF && more(1))
        return {2};
    if (byte(0) >= 0xE0 && byte(0) <= 0xEF && more(1) && more(2))
        return {3};
    return {};
}

size_t image(std::string_view text, size_t place, std::string_view& found) {
    if (!at(text, place, "<img"))
        return kNone;
    for (const size_t width : characters(text, place + 4))
        if (at(text, place + 4 + width, "src"))
            return value(text, place + 7 + width, false, found);
    return kNone;
}

template <class Match>
std::vector<std::string_view> all(std::string_view text, Match match) {
    std::vector<std::string_view> found;
    for (size_t place = 0; place < text.size();) {
        std::string_view part;
        const size_t behind = match(text, place, part);
        if (behind != kNone)
            found.push_back(part);
        place = behind == kNone ? place + 1 : behind;
    }
    return found;
}

void checkLinks(const kr::PushContent& content, std::string_view html) {
    std::vector<std::string> expected;
    std::set<std::string> known;
    for (const std::string_view part : all(html, link)) {
        if (part.empty() || part == "/")
            continue;
        std::string url = kr::ResolveURL(part, content.RootPath());
        bool refused = url.empty();
        for (const char* type :
             {".exe", ".zip", ".pdf", ".doc", ".mdb", ".swf", ".msi", ".js", ".vbs"})
            for (size_t place = 0; place < url.size() && !refused; ++place)
                refused = at(url, place, type);
        if (!refused && known.insert(kr::ToLower(url)).second)
            expected.push_back(std::move(url));
    }
    if (content.ChildLinks() != expected)
        std::abort();
}

void checkImages(const kr::PushContent& content, std::string_view html) {
    std::vector<std::string> expected;
    for (const std::string_view part : all(html, image)) {
        std::string url = kr::ToLower(kr::ResolveURL(part, content.RootPath()));
        if (!part.empty() && std::ranges::find(expected, url) == expected.end())
            expected.push_back(std::move(url));
    }
    if (content.ImageLinks.size() != expected.size())
        std::abort();
    for (size_t i = 0; i < expected.size(); ++i)
        if (content.ImageLinks[i].url != expected[i])
            std::abort();
}

} // namespace

/// A line with the page's address, and the page: links and images are those that a reading by hand
/// finds, and every one of them is kept once.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const size_t line = std::min(text.find('\n'), text.size());
    const std::string_view html = text.substr(std::min(line + 1, text.size()));
    kr::PushContent content;
    content.SetURL(text.substr(0, line));
    content.GetChildLinks(html);
    content.GetImageLinks(html);
    if (html.size() > kLongestChecked)
        return 0;
    checkLinks(content, html);
    checkImages(content, html);
    return 0;
}
