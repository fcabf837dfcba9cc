#include "tests/fakes/FakeHttp.h"

#include "core/Text.h"

namespace kr {

namespace {

class FakeRequest : public WebRequest {
public:
    explicit FakeRequest(FakeHttp& http) : m_http(http) {}
    void SetProxy(ProxySetting setting, std::string_view server, std::string_view bypass) override {
        m_request.proxy = setting;
        m_request.proxyServer = server;
        m_request.proxyBypass = bypass;
    }
    void SetCredentials(std::string_view user, std::string_view password, bool forProxy) override {
        if (!forProxy)
            return;
        m_request.proxyUser = user;
        m_request.proxyPassword = password;
    }
    void SetTimeouts(int resolve, int connect, int send, int receive) override {
        m_request.timeouts = {resolve, connect, send, receive};
    }
    void SetAutoLogonPolicy(AutoLogonPolicy policy) override { m_request.policy = policy; }
    void Open(std::string_view method, std::string_view url, bool async) override {
        m_request.method = method;
        m_request.url = url;
        m_request.async = async;
        m_request.headers.clear();
    }
    void SetRequestHeader(std::string_view name, std::string_view value) override {
        if ((std::string(name) + std::string(value)).find_first_of("\r\n") != std::string::npos)
            throw PlatformError(static_cast<long>(0x80070057), "The parameter is incorrect.");
        m_request.headers.emplace_back(name, value);
    }
    void Send(std::string_view body) override {
        m_request.body = body;
        m_http.sent.push_back(m_request);
        m_response = m_http.answer(m_request);
    }
    bool WaitForResponse(int) override {
        ++m_http.waits;
        return m_response.status > 0;
    }
    std::optional<std::string> Failure() const override {
        return m_response.status == 0 ? std::optional<std::string>("connection refused")
                                      : std::nullopt;
    }
    void Abort() override { ++m_http.aborts; }
    int Status() const override { return m_response.status; }
    std::string StatusText() const override { return m_response.statusText; }
    std::string ResponseText() const override { return m_response.body; }
    const std::string& ResponseBody() const override { return m_response.body; }
    std::optional<std::string> GetResponseHeader(std::string_view name) const override {
        for (const auto& [key, value] : m_response.headers)
            if (EqualNoCase(key, name))
                return value;
        return std::nullopt;
    }
    std::string GetAllResponseHeaders() const override {
        std::string lines;
        for (const auto& [key, value] : m_response.headers)
            lines += key + ": " + value + "\r\n";
        return lines;
    }

private:
    FakeHttp& m_http;
    FakeHttp::Request m_request;
    FakeHttp::Response m_response;
};

} // namespace

std::unique_ptr<WebRequest> FakeHttp::CreateRequest() {
    if (fails)
        throw PlatformError(static_cast<long>(0x80040154), "Class not registered");
    return std::make_unique<FakeRequest>(*this);
}

std::string FakeSecrets::Encipher(std::string_view text) { return "<" + std::string(text) + ">"; }

std::string FakeSecrets::Decipher(std::string_view stored) {
    const bool enciphered = stored.starts_with('<') && stored.ends_with('>');
    return std::string(enciphered ? stored.substr(1, stored.size() - 2) : stored);
}

} // namespace kr
