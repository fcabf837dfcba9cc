#include "platform/http/curl/ProxyChoice.h"

#include <vector>

#include "core/Text.h"

namespace kr {

namespace {

std::vector<std::string> elements(std::string_view list) {
    std::vector<std::string> found;
    std::string element;
    for (const char c : std::string(list) + ' ') {
        if (c != ';' && c != ' ' && c != '\t' && c != '\r' && c != '\n') {
            element += c;
        } else if (!element.empty()) {
            found.push_back(std::move(element));
            element.clear();
        }
    }
    return found;
}

/// `*` is any run of characters.
bool matches(std::string_view pattern, std::string_view text) {
    size_t p = 0, t = 0, star = std::string_view::npos, mark = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            mark = t;
        } else if (p < pattern.size() && pattern[p] == text[t]) {
            ++p;
            ++t;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            t = ++mark;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

std::string withPort(std::string proxy) {
    const size_t scheme = proxy.find("://");
    if (scheme == std::string::npos)
        proxy = "http://" + proxy;
    const size_t host = proxy.find("://") + 3;
    const size_t bracket = proxy.find(']', host);
    const size_t colon = proxy.find(':', bracket == std::string::npos ? host : bracket);
    // the library's own default is 1080
    return colon == std::string::npos ? proxy + ":80" : proxy;
}

} // namespace

std::shared_ptr<CURLU> ReadUrl(std::string_view url) {
    if (url.find("://") == std::string_view::npos)
        return nullptr;
    std::shared_ptr<CURLU> read(curl_url(), curl_url_cleanup);
    return curl_url_set(read.get(), CURLUPART_URL, EncodeUrl(url).c_str(), CURLU_PATH_AS_IS) ==
                   CURLUE_OK
               ? read
               : nullptr;
}

UrlParts PartsOf(const std::shared_ptr<CURLU>& url) {
    if (!url)
        return {};
    const auto part = [&](CURLUPart which) {
        char* text = nullptr;
        curl_url_get(url.get(), which, &text, CURLU_DEFAULT_PORT);
        std::string result = text ? ToLower(text) : std::string();
        curl_free(text);
        return result;
    };
    UrlParts parts{part(CURLUPART_SCHEME), part(CURLUPART_HOST), part(CURLUPART_PORT)};
    if (parts.host.starts_with('['))
        parts.host = parts.host.substr(1, parts.host.size() - 2);
    return parts;
}

std::string ProxyFor(const UrlParts& url, std::string_view list) {
    std::string any;
    for (const std::string& element : elements(list)) {
        const size_t equals = element.find('=');
        if (equals == std::string::npos) {
            if (any.empty())
                any = element;
        } else if (ToLower(element.substr(0, equals)) == url.scheme) {
            return withPort(element.substr(equals + 1));
        }
    }
    return any.empty() ? any : withPort(any);
}

bool Bypasses(const UrlParts& url, std::string_view bypass) {
    for (const std::string& element : elements(ToLower(bypass))) {
        if (element == "<local>" ? url.host.find('.') == std::string::npos
                                 : matches(element, url.host))
            return true;
    }
    return false;
}

std::string EncodeUrl(std::string_view url) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(url.size());
    for (const char c : url) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte > ' ' && byte < 0x7F) {
            encoded += c;
        } else {
            encoded += '%';
            encoded += kHex[byte >> 4];
            encoded += kHex[byte & 0xF];
        }
    }
    return encoded;
}

} // namespace kr
