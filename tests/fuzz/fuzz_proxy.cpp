#include <curl/curl.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "core/Text.h"
#include "platform/http/curl/ProxyChoice.h"

namespace {

std::string part(CURLU* url, CURLUPart which) {
    char* text = nullptr;
    curl_url_get(url, which, &text, CURLU_DEFAULT_PORT);
    const std::string result = text ? text : "";
    curl_free(text);
    return result;
}

/// The host that credentials are kept for must be the one that is talked to.
void checkHost(const std::string& text) {
    const kr::UrlParts parts = kr::PartsOf(text);
    if (parts.scheme != "http" && parts.scheme != "https")
        return; // refused
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl_url(), curl_url_cleanup);
    if (curl_url_set(url.get(), CURLUPART_URL, kr::EncodeUrl(text).c_str(), 0) != CURLUE_OK)
        return; // refused as well
    std::string host = kr::ToLower(part(url.get(), CURLUPART_HOST));
    if (host.starts_with('['))
        host = host.substr(1, host.size() - 2);
    if (parts.host != host || parts.port != part(url.get(), CURLUPART_PORT) ||
        parts.scheme != kr::ToLower(part(url.get(), CURLUPART_SCHEME)))
        std::abort();
}

} // namespace

/// A line with a URL, one with a list of proxies, and a bypass list.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto lines = kr::Split(text, "\n");
    const std::string url = lines[0].substr(0, lines[0].find('\0'));
    const std::string list = lines.size() > 1 ? lines[1] : "";
    const std::string bypass = lines.size() > 2 ? lines[2] : "";
    checkHost(url);
    const kr::UrlParts parts = kr::PartsOf(url);
    const std::string proxy = kr::ProxyFor(parts, list);
    // without a port the library would take one of its own
    if (!proxy.empty() && (proxy.find("://") == std::string::npos ||
                           proxy.find(':', proxy.find("://") + 3) == std::string::npos))
        std::abort();
    kr::Bypasses(parts, bypass);
    if (!kr::Bypasses(parts, bypass + "; *"))
        std::abort();
    for (const char c : kr::EncodeUrl(text))
        if (c <= ' ' || c == 0x7F)
            std::abort();
    return 0;
}
