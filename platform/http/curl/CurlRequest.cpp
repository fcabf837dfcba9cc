#include "platform/http/curl/CurlRequest.h"

#include <thread>

#include "core/Text.h"
#include "platform/http/curl/Charset.h"

namespace kr {

namespace {

// Error numbers of WinHTTP (0x80072EE0 and on).
constexpr long kUnrecognizedScheme = static_cast<long>(0x80072EE6);
constexpr long kInvalidHeader = static_cast<long>(0x80072F78);
constexpr long kNotOpen = static_cast<long>(0x80072EF3);

constexpr int kMostHops = 10;
constexpr auto kWatchInterval = std::chrono::seconds(1);
constexpr auto kSlice = std::chrono::milliseconds(20);

bool isRedirect(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

bool isHttp(const UrlParts& url) { return url.scheme == "http" || url.scheme == "https"; }

} // namespace

CurlRequest::CurlRequest(std::shared_ptr<CurlMulti> multi, std::function<void()> idle,
                         HttpOptions options)
    : m_multi(std::move(multi)), m_idle(std::move(idle)), m_options(std::move(options)),
      m_exchange(std::make_shared<CurlExchange>()), m_self(std::make_shared<CurlRequest*>(this)) {}

CurlRequest::~CurlRequest() {
    *m_self = nullptr;
    stop();
}

void CurlRequest::SetProxy(ProxySetting setting, std::string_view server, std::string_view bypass) {
    m_proxy = setting;
    m_proxyServer = server;
    m_bypass = bypass;
}

void CurlRequest::SetCredentials(std::string_view user, std::string_view password, bool forProxy) {
    (forProxy ? m_proxyUser : m_serverUser) = {std::string(user), std::string(password)};
}

void CurlRequest::SetTimeouts(int resolve, int connect, int send, int receive) {
    m_connectLimit = std::chrono::milliseconds(resolve + connect);
    m_sendLimit = std::chrono::milliseconds(send);
    m_receiveLimit = std::chrono::milliseconds(receive);
}

void CurlRequest::Open(std::string_view method, std::string_view url, bool async) {
    stop();
    m_url = nullptr; // also a refused URL ends what was before
    m_headers.clear();
    m_status = 0;
    m_done = false;
    m_failure.reset();
    m_exchange->ClearResponse();
    auto read = ReadUrl(url);
    if (!isHttp(PartsOf(read)) || url.find('\0') != std::string_view::npos)
        throw PlatformError(kUnrecognizedScheme,
                            "The URL does not use a recognized protocol (http or https): " +
                                std::string(url),
                            "WebRequest");
    m_method = ToUpper(method);
    m_url = std::move(read);
    m_async = async;
}

void CurlRequest::SetRequestHeader(std::string_view name, std::string_view value) {
    constexpr std::string_view kBreaks("\r\n\0", 3);
    if (name.empty() || name.find_first_of(kBreaks) != std::string_view::npos ||
        name.find(':') != std::string_view::npos ||
        value.find_first_of(kBreaks) != std::string_view::npos)
        throw PlatformError(kInvalidHeader, "A header may hold no line break: " + std::string(name),
                            "WebRequest");
    m_headers.emplace_back(name, value);
}

void CurlRequest::Send(std::string_view body) {
    if (!m_url)
        throw PlatformError(kNotOpen, "The request has not been opened.", "WebRequest");
    stop();
    m_exchange->body = body;
    m_done = false;
    m_failure.reset();
    m_status = 0;
    m_hops = 0;
    m_identity = false;
    m_watchdog = m_multi->events().AddTimer(
        std::chrono::duration_cast<std::chrono::milliseconds>(kWatchInterval),
        [this] { watchdog(); });
    exchange();
    if (!m_async)
        waitForItself();
}

/// The receive limit counts from here: nobody else ends a silent request, or one that drips.
void CurlRequest::waitForItself() {
    const auto self = m_self;
    for (const auto start = Clock::now(); *self && !m_done;) {
        WaitForResponse(1);
        if (!*self || m_done)
            return;
        const auto waited = Clock::now() - start;
        if (waited > m_options.longestWait || (!m_onWorker && m_exchange->statusLine.empty() &&
                                               waited > m_connectLimit + m_receiveLimit))
            fail("The server did not answer in time.");
    }
}

bool CurlRequest::WaitForResponse(int seconds) {
    const auto self = m_self;
    const auto idle = m_idle; // what runs in here may let the request go
    const auto end = Clock::now() + std::chrono::seconds(seconds);
    while (m_running && Clock::now() < end) {
        m_multi->events().Run(kSlice);
        if (idle && *self)
            idle();
        if (!*self)
            return false;
    }
    return m_done && !m_failure;
}

void CurlRequest::Abort() {
    if (m_running)
        fail("The request was aborted.");
}

void CurlRequest::stop() {
    if (m_watchdog != 0)
        m_multi->events().Cancel(std::exchange(m_watchdog, 0));
    if (!std::exchange(m_running, false))
        return;
    if (m_onWorker) { // the worker keeps the handle; this goes on with one of its own
        m_exchange->abandoned = true;
        m_exchange = std::make_shared<CurlExchange>();
        m_onWorker = false;
    } else {
        m_multi->Remove(m_exchange->easy);
    }
}

void CurlRequest::fail(std::string why) {
    stop();
    m_exchange->ClearResponse();
    m_status = 0;
    m_done = true;
    m_failure = std::move(why);
}

void CurlRequest::succeed() {
    stop();
    m_done = true;
}

// --- One exchange with one server

void CurlRequest::exchange() {
    m_exchange->Begin();
    m_exchange->longestBody = m_options.longestBody;
    m_moved = 0;
    m_movedAt = Clock::now();
    applyUrl();
    applyProxy();
    applyBody();
    applyLogon();
    applyHeaders();
    m_running = true;
    if (m_identity) {
        runOnWorker();
        return;
    }
    m_multi->Start(m_exchange->easy, [this](CURLcode result) {
        m_running = false;
        finished(result);
    });
}

void CurlRequest::applyUrl() {
    CURL* easy = m_exchange->easy;
    m_exchange->url = m_url;
    curl_easy_setopt(easy, CURLOPT_CURLU, m_url.get());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    // newer versions over TLS have no reason phrase
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(m_connectLimit.count()));
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, curl_off_t{m_options.longestBody});
    if (!m_options.caFile.empty())
        curl_easy_setopt(easy, CURLOPT_CAINFO, m_options.caFile.c_str());
}

/// The choice depends on the host, so it is made again for each redirection.
void CurlRequest::applyProxy() {
    CURL* easy = m_exchange->easy;
    if (m_proxy == ProxySetting::Preconfigured)
        return; // the environment says
    std::string proxy;
    if (m_proxy == ProxySetting::Named)
        if (const UrlParts url = PartsOf(m_url); !Bypasses(url, m_bypass))
            proxy = ProxyFor(url, m_proxyServer);
    curl_easy_setopt(easy, CURLOPT_PROXY, proxy.c_str());
    curl_easy_setopt(easy, CURLOPT_NOPROXY, "");
    if (proxy.empty() || m_proxyUser.user.empty())
        return;
    curl_easy_setopt(easy, CURLOPT_PROXYUSERNAME, m_proxyUser.user.c_str());
    curl_easy_setopt(easy, CURLOPT_PROXYPASSWORD, m_proxyUser.password.c_str());
    curl_easy_setopt(easy, CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_ANY));
}

void CurlRequest::applyBody() {
    CURL* easy = m_exchange->easy;
    const std::string& body = m_exchange->body;
    if (m_method == "GET" && body.empty()) {
        curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L);
        return;
    }
    if (m_method == "HEAD") {
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
        return;
    }
    if (m_method == "POST" || !body.empty()) {
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, body.data());
    }
    if (m_method != "POST")
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, m_method.c_str());
}

void CurlRequest::applyHeaders() {
    CurlExchange& exchange = *m_exchange;
    curl_slist_free_all(std::exchange(exchange.headers, nullptr));
    bool typed = false;
    for (const auto& [name, value] : m_headers) {
        if (m_identity && EqualNoCase(name, "Authorization"))
            continue; // else two would go out
        typed = typed || EqualNoCase(name, "Content-Type");
        std::string line = name;
        line += value.empty() ? ";" : ": ";
        line += value;
        exchange.headers = curl_slist_append(exchange.headers, line.c_str());
    }
    // what the library would add by itself
    if (!typed)
        exchange.headers = curl_slist_append(exchange.headers, "Content-Type:");
    exchange.headers = curl_slist_append(exchange.headers, "Expect:");
    curl_easy_setopt(exchange.easy, CURLOPT_HTTPHEADER, exchange.headers);
}

void CurlRequest::applyLogon() {
    CURL* easy = m_exchange->easy;
    if (m_identity) {
        curl_easy_setopt(easy, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_NEGOTIATE));
        curl_easy_setopt(easy, CURLOPT_USERPWD, ":");
    } else if (!m_serverUser.user.empty() && m_hops == 0) {
        curl_easy_setopt(easy, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_ANY));
        curl_easy_setopt(easy, CURLOPT_USERNAME, m_serverUser.user.c_str());
        curl_easy_setopt(easy, CURLOPT_PASSWORD, m_serverUser.password.c_str());
    }
}

/// The Kerberos library blocks for as long as its servers are silent: the one exchange that offers
/// the person's identity runs apart, on its own handle.
void CurlRequest::runOnWorker() {
    m_onWorker = true;
    std::thread([exchange = m_exchange, gate = m_multi->gate(), self = m_self] {
        const CURLcode result = curl_easy_perform(exchange->easy);
        gate->Post([exchange, self, result] {
            CurlRequest* request = *self;
            if (!request || request->m_exchange != exchange || exchange->abandoned)
                return;
            request->m_onWorker = false;
            request->m_running = false;
            request->finished(result);
        });
    }).detach();
}

void CurlRequest::finished(CURLcode result) {
    if (m_exchange->headTooLong) {
        fail("The head of the response is too long.");
        return;
    }
    if (m_exchange->tooLong || result == CURLE_FILESIZE_EXCEEDED) {
        fail("The response is longer than " + std::to_string(m_options.longestBody >> 20) + " MB.");
        return;
    }
    if (result != CURLE_OK) {
        const std::string more = m_exchange->reason.data();
        fail(curl_easy_strerror(result) + (more.empty() ? more : ": " + more));
        return;
    }
    long status = 0;
    curl_easy_getinfo(m_exchange->easy, CURLINFO_RESPONSE_CODE, &status);
    m_status = static_cast<int>(status);
    if (isRedirect(m_status) && redirected())
        return;
    if (wantsLogon()) {
        m_identity = true;
        exchange();
        return;
    }
    succeed();
}

/// Follows a redirection; false when the answer itself is the response.
bool CurlRequest::redirected() {
    char* target = nullptr;
    curl_easy_getinfo(m_exchange->easy, CURLINFO_REDIRECT_URL, &target);
    if (!target)
        return false;
    const std::string next = target;
    auto read = ReadUrl(next);
    const UrlParts from = PartsOf(m_url), to = PartsOf(read);
    if (!isHttp(to)) {
        fail("The server redirected to " + next + ", which is refused.");
        return true;
    }
    if (from.scheme == "https" && to.scheme == "http")
        return false; // as the response: nothing leaves the secured connection
    if (++m_hops > kMostHops) {
        fail("The server redirected more than 10 times.");
        return true;
    }
    const bool keeps = m_status == 307 || m_status == 308;
    if (!keeps && m_method != "GET" && m_method != "HEAD") {
        m_method = "GET";
        m_exchange->body.clear();
        std::erase_if(m_headers,
                      [](const auto& h) { return EqualNoCase(h.first, "Content-Type"); });
    }
    if (from != to)
        std::erase_if(m_headers,
                      [](const auto& h) { return EqualNoCase(h.first, "Authorization"); });
    m_url = std::move(read);
    m_identity = false;
    exchange();
    return true;
}

bool CurlRequest::wantsLogon() const {
    if (m_status != 401 || m_policy != AutoLogonPolicy::Always || m_identity)
        return false;
    for (const std::string& line : m_exchange->responseHeaders)
        if (StartsWithNoCase(line, "WWW-Authenticate:") &&
            ToLower(line).find("negotiate") != std::string::npos)
            return true;
    return false;
}

/// A server may think for as long as its caller waits; but once something has moved, a pause has
/// its limits.
void CurlRequest::watchdog() {
    if (!m_running || m_onWorker)
        return;
    curl_off_t up = 0;
    curl_easy_getinfo(m_exchange->easy, CURLINFO_SIZE_UPLOAD_T, &up);
    const bool sending = up > 0 && static_cast<size_t>(up) < m_exchange->body.size();
    const bool receiving = !m_exchange->statusLine.empty();
    const auto moved = static_cast<curl_off_t>(m_exchange->received) + up;
    if (moved != m_moved || (!sending && !receiving)) {
        m_moved = moved;
        m_movedAt = Clock::now();
        return;
    }
    if (Clock::now() - m_movedAt > (sending ? m_sendLimit : m_receiveLimit))
        fail(sending ? "The server stopped reading." : "The server stopped sending.");
}

// --- The response

std::string CurlRequest::StatusText() const {
    const std::string& line = m_exchange->statusLine;
    const size_t code = line.find(' ');
    const size_t phrase = code == std::string::npos ? code : line.find(' ', code + 1);
    return phrase == std::string::npos ? std::string() : line.substr(phrase + 1);
}

std::string CurlRequest::ResponseText() const {
    return DecodeBody(m_exchange->responseBody, GetResponseHeader("Content-Type").value_or(""));
}

std::optional<std::string> CurlRequest::GetResponseHeader(std::string_view name) const {
    return m_exchange->Header(name);
}

std::string CurlRequest::GetAllResponseHeaders() const {
    std::string lines;
    for (const std::string& line : m_exchange->responseHeaders)
        lines += line + "\r\n";
    return lines;
}

// --- The provider

namespace {

class CurlProvider : public HttpProvider {
public:
    CurlProvider(Events& events, std::function<void()> idle, HttpOptions options)
        : m_idle(std::move(idle)), m_options(std::move(options)) {
        curl_global_init(CURL_GLOBAL_DEFAULT);
        m_multi = std::make_shared<CurlMulti>(events);
    }
    std::unique_ptr<WebRequest> CreateRequest() override {
        return std::make_unique<CurlRequest>(m_multi, m_idle, m_options);
    }

private:
    std::shared_ptr<CurlMulti> m_multi;
    std::function<void()> m_idle;
    HttpOptions m_options;
};

} // namespace

std::unique_ptr<HttpProvider> MakeCurlHttp(Events& events, std::function<void()> idle,
                                           HttpOptions options) {
    return std::make_unique<CurlProvider>(events, std::move(idle), std::move(options));
}

} // namespace kr
