#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "platform/http/curl/CurlHttp.h"
#include "platform/http/curl/CurlMulti.h"
#include "platform/http/curl/ProxyChoice.h"

namespace kr {

/// What one exchange with a server gave, and the handle that it ran on. It is shared with the
/// worker of a logon, which may outlive the request.
struct CurlExchange {
    CurlExchange();
    ~CurlExchange();
    CurlExchange(const CurlExchange&) = delete;
    CurlExchange& operator=(const CurlExchange&) = delete;

    void ClearResponse();
    /// Before each transfer: a handle without a past but its cookies. The library (7.88) keeps a
    /// pointer to the last header line of the answer before, which it has freed, and writes there
    /// when the next answer begins with a folded line.
    void Begin();
    /// The value of the first header of that name.
    std::optional<std::string> Header(std::string_view name) const;

    CURL* easy;
    curl_slist* headers = nullptr;
    std::shared_ptr<CURLU> url;
    std::string body; // of the request
    int64_t longestBody = 0;
    std::string statusLine;
    std::vector<std::string> responseHeaders;
    std::string responseBody;
    size_t received = 0; // bytes of all answers so far, with their heads
    size_t headSize = 0; // bytes of heads and trailers, also of interim answers
    std::array<char, CURL_ERROR_SIZE> reason{}; // more words about a failure, or none
    bool tooLong = false, headTooLong = false;
    std::atomic<bool> abandoned = false; // nobody waits anymore

private:
    void prepare();
    bool m_begun = false;
};

class CurlRequest : public WebRequest {
public:
    CurlRequest(std::shared_ptr<CurlMulti> multi, std::function<void()> idle, HttpOptions options);
    ~CurlRequest() override;

    void SetProxy(ProxySetting setting, std::string_view server, std::string_view bypass) override;
    void SetCredentials(std::string_view user, std::string_view password, bool forProxy) override;
    void SetTimeouts(int resolve, int connect, int send, int receive) override;
    void SetAutoLogonPolicy(AutoLogonPolicy policy) override { m_policy = policy; }
    void Open(std::string_view method, std::string_view url, bool async) override;
    void SetRequestHeader(std::string_view name, std::string_view value) override;
    void Send(std::string_view body) override;
    bool WaitForResponse(int seconds) override;
    std::optional<std::string> Failure() const override { return m_failure; }
    void Abort() override;

    int Status() const override { return m_status; }
    std::string StatusText() const override;
    std::string ResponseText() const override;
    const std::string& ResponseBody() const override { return m_exchange->responseBody; }
    std::optional<std::string> GetResponseHeader(std::string_view name) const override;
    std::string GetAllResponseHeaders() const override;

private:
    using Clock = std::chrono::steady_clock;
    struct Credentials {
        std::string user, password;
    };

    void waitForItself();
    void exchange();
    void applyUrl();
    void applyProxy();
    void applyBody();
    void applyHeaders();
    void applyLogon();
    void runOnWorker();
    void finished(CURLcode result);
    bool redirected();
    bool wantsLogon() const;
    void fail(std::string why);
    void succeed();
    void stop();
    void watchdog();

    std::shared_ptr<CurlMulti> m_multi;
    std::function<void()> m_idle;
    HttpOptions m_options;

    ProxySetting m_proxy = ProxySetting::Preconfigured;
    std::string m_proxyServer, m_bypass;
    Credentials m_proxyUser, m_serverUser;
    AutoLogonPolicy m_policy = AutoLogonPolicy::OnlyIfBypassProxy;
    std::chrono::milliseconds m_connectLimit{60'000};
    std::chrono::milliseconds m_sendLimit{30'000};
    std::chrono::milliseconds m_receiveLimit{30'000};

    std::string m_method;
    std::shared_ptr<CURLU> m_url; // none before Open
    bool m_async = true;
    std::vector<std::pair<std::string, std::string>> m_headers;

    std::shared_ptr<CurlExchange> m_exchange;
    bool m_running = false; // an exchange is under way
    bool m_onWorker = false;
    bool m_done = false;
    bool m_identity = false; // this exchange offers the person's own identity
    int m_hops = 0;
    int m_status = 0;
    std::optional<std::string> m_failure;

    Events::Id m_watchdog = 0;
    curl_off_t m_moved = 0; // bytes that had gone either way when something last moved
    Clock::time_point m_movedAt;
    std::shared_ptr<CurlRequest*> m_self;
};

} // namespace kr
