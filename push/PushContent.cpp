#include "push/PushContent.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <memory_resource>
#include <unordered_set>

#include "core/Text.h"
#include "push/LinkPattern.h"

namespace kr {

namespace {

/// The last alternative never matches: it says that a tag without a link holds no other place to
/// begin at, which would else make the time grow with the square of a tag's length.
const LinkPattern& childPattern() {
    static const LinkPattern pattern(
        R"re(<a(?:[^>]*href\s*=\s*(?:"(?!javascript:|mailto:|#|file:)([^"]*)"|)re"
        R"re((?:'(?!javascript:|mailto:|#|file:)([^']*)'))|[^>]*(*SKIP)(*FAIL)))re");
    return pattern;
}

/// Not anchored: ".jsp" is refused as well.
const LinkPattern& filePattern() {
    static const LinkPattern pattern(R"re(\.exe|\.zip|\.pdf|\.doc|\.mdb|\.swf|\.msi|\.js|\.vbs)re");
    return pattern;
}

/// One character stands between the tag and its first attribute: in bytes, one of up to three.
const LinkPattern& imagePattern() {
    static const LinkPattern pattern(
        R"re(<img(?:[^>\x80-\xff]|[\xc2-\xdf][\x80-\xbf]|[\xe0-\xef][\x80-\xbf]{2}))re"
        R"re(src\s*=\s*(?:"([^"]*)"|(?:'([^']*)')))re");
    return pattern;
}

/// Addresses that were met, whatever their case. A page has many, which all go at once.
class Known {
public:
    /// False for one that was there.
    bool Add(std::string_view url) { return m_keys.emplace(ToLower(url)).second; }

private:
    std::array<std::byte, 16 << 10> m_block;
    std::pmr::monotonic_buffer_resource m_memory{m_block.data(), m_block.size()};
    std::pmr::unordered_set<std::pmr::string> m_keys{&m_memory};
};

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (!path.empty() && (path.back() == '/' || path.back() == '\\'))
        path.remove_suffix(1);
    return path;
}

} // namespace

std::string ResolveURL(std::string_view link, std::string_view path) {
    if (EqualNoCase(link.substr(0, 4), "http"))
        return std::string(link);
    std::string url;
    url.reserve(path.size() + 1 + link.size());
    if (link.starts_with('/'))
        return url.append(path).append(path.ends_with('/') ? link.substr(1) : link);
    if (link.starts_with("../"))
        return url.append(withoutTrailingSlashes(path)).append("/").append(link);
    const bool closed = path.ends_with('/') || path.ends_with('\\');
    return url.append(path).append(closed ? "" : "/").append(link);
}

double KilobytesOf(size_t bytes) {
    return std::nearbyint(static_cast<double>(bytes) / 1024 * 10) / 10;
}

void PushContent::SetRootPath(std::string_view url) {
    if (!url.empty())
        m_url = url;
    if (m_url.empty())
        return;
    size_t last = m_url.rfind('/');
    if (last == std::string::npos)
        last = m_url.rfind('\\');
    m_docPath = last == std::string::npos ? std::string() : m_url.substr(0, last + 1);
    const size_t slashes = m_url.find("//");
    const size_t first =
        slashes == std::string::npos ? m_url.find('/') : m_url.find('/', slashes + 2);
    m_rootPath = first == std::string::npos ? std::string() : m_url.substr(0, first + 1);
}

void PushContent::GetChildLinks(std::string_view html) {
    if (!html.empty())
        HTML = html;
    Known known;
    for (const std::string& url : m_childLinks)
        known.Add(url);
    childPattern().EachMatch(HTML, [&](const std::vector<std::string_view>& parts) {
        std::string url;
        for (const std::string_view part : parts) {
            if (part.empty() || part == "/")
                continue;
            url = ResolveURL(part, m_rootPath);
            break;
        }
        if (!url.empty() && !filePattern().Matches(url) && known.Add(url))
            m_childLinks.push_back(std::move(url));
    });
}

void PushContent::GetImageLinks(std::string_view html) {
    if (!html.empty())
        HTML = html;
    Known known;
    for (const Image& image : ImageLinks)
        known.Add(image.url);
    imagePattern().EachMatch(HTML, [&](const std::vector<std::string_view>& parts) {
        for (const std::string_view part : parts) {
            if (part.empty())
                continue;
            std::string url = ToLower(ResolveURL(part, m_rootPath));
            if (known.Add(url))
                ImageLinks.push_back({std::move(url)});
            break;
        }
    });
}

} // namespace kr
