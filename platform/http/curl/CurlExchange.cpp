#include "core/Text.h"
#include "platform/http/curl/CurlRequest.h"

namespace kr {

namespace {

constexpr size_t kLongestHead = 256 << 10;

size_t onBody(char* data, size_t, size_t size, void* user) {
    auto& exchange = *static_cast<CurlExchange*>(user);
    if (exchange.responseBody.size() + size > static_cast<size_t>(exchange.longestBody)) {
        exchange.tooLong = true;
        return 0;
    }
    exchange.received += size;
    exchange.responseBody.append(data, size);
    return size;
}

size_t onHeader(char* data, size_t, size_t size, void* user) {
    auto& exchange = *static_cast<CurlExchange*>(user);
    exchange.received += size;
    exchange.headSize += size;
    if (exchange.headSize > kLongestHead) {
        exchange.headTooLong = true;
        return 0;
    }
    std::string_view line(data, size);
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n'))
        line.remove_suffix(1);
    if (line.starts_with("HTTP/")) { // also that of an interim answer
        exchange.statusLine = line;
        exchange.responseHeaders.clear();
    } else if (!line.empty()) {
        exchange.responseHeaders.emplace_back(line);
    }
    return size;
}

/// Ends what nobody waits for.
int onProgress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return static_cast<CurlExchange*>(user)->abandoned ? 1 : 0;
}

} // namespace

CurlExchange::CurlExchange() : easy(curl_easy_init()) { prepare(); }

CurlExchange::~CurlExchange() {
    curl_easy_cleanup(easy);
    curl_slist_free_all(headers);
}

void CurlExchange::ClearResponse() {
    statusLine.clear();
    responseHeaders.clear();
    responseBody.clear();
    received = headSize = 0;
    tooLong = headTooLong = false;
    reason[0] = '\0';
}

void CurlExchange::Begin() {
    ClearResponse();
    if (!std::exchange(m_begun, true))
        return;
    curl_slist* cookies = nullptr;
    curl_easy_getinfo(easy, CURLINFO_COOKIELIST, &cookies);
    curl_easy_cleanup(easy);
    easy = curl_easy_init();
    prepare();
    for (const curl_slist* cookie = cookies; cookie; cookie = cookie->next)
        curl_easy_setopt(easy, CURLOPT_COOKIELIST, cookie->data);
    curl_slist_free_all(cookies);
}

void CurlExchange::prepare() {
    curl_easy_setopt(easy, CURLOPT_COOKIEFILE, ""); // no file, but cookies are sent
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, reason.data());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, onBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, onProgress);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
}

std::optional<std::string> CurlExchange::Header(std::string_view name) const {
    for (const std::string& line : responseHeaders) {
        const size_t colon = line.find(':');
        if (colon != std::string::npos && EqualNoCase(line.substr(0, colon), name))
            return std::string(Trim(std::string_view(line).substr(colon + 1)));
    }
    return std::nullopt;
}

} // namespace kr
