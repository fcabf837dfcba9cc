#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kr {

/// One document that was fetched for a push, with the links and images that it names.
class PushContent {
public:
    struct Image {
        std::string url;   // absolute, in lower case
        int64_t bytes = 0; // once it was measured
    };

    bool IsRootDocument = false;
    std::string Content; // the body's bytes
    std::string ContentType;
    std::string HTML; // the page as UTF-8
    std::vector<Image> ImageLinks;
    std::vector<std::string> Headers; // lines
    double ContentKB = 0;             // one decimal, with the images once they are measured

    const std::string& URL() const { return m_url; }
    void SetURL(std::string_view url) { SetRootPath(url); }
    /// Protocol and host with the closing "/".
    const std::string& RootPath() const { return m_rootPath; }
    /// Up to and including the last "/" or "\".
    const std::string& DocPath() const { return m_docPath; }
    /// Absolute, each once whatever its case.
    const std::vector<std::string>& ChildLinks() const { return m_childLinks; }

    /// Fills ChildLinks; a text that isn't empty becomes HTML first.
    void GetChildLinks(std::string_view html);
    void GetImageLinks(std::string_view html);
    /// A URL that isn't empty becomes URL first.
    void SetRootPath(std::string_view url);

private:
    std::string m_url, m_rootPath, m_docPath;
    std::vector<std::string> m_childLinks;
};

/// A link as it is fetched. Kept: `path` is the site's root also for links deep within it, and
/// "../" stays for the server to resolve.
std::string ResolveURL(std::string_view link, std::string_view path);
/// Bytes in kilobytes, rounded to one decimal.
double KilobytesOf(size_t bytes);

} // namespace kr
