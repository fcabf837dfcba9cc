#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/http/Http.h"
#include "platform/secrets/Secrets.h"

namespace kr {

/// Requests that a function of the test answers; all are kept as they were sent.
class FakeHttp : public HttpProvider {
public:
    struct Request {
        std::string method, url, body;
        std::vector<std::pair<std::string, std::string>> headers; // in their order
        ProxySetting proxy = ProxySetting::Preconfigured;
        std::string proxyServer, proxyBypass, proxyUser, proxyPassword;
        AutoLogonPolicy policy = AutoLogonPolicy::OnlyIfBypassProxy;
        std::vector<int> timeouts;
        bool async = true;
    };
    struct Response {
        int status = 200; // 0: the request fails; -1: no answer ever comes
        std::string statusText = "OK";
        std::string body;
        std::vector<std::pair<std::string, std::string>> headers;
    };
    std::function<Response(const Request&)> answer = [](const Request&) { return Response(); };
    std::vector<Request> sent;
    int waits = 0;      // calls of WaitForResponse
    int aborts = 0;     // calls of Abort
    bool fails = false; // no request can be made

    std::unique_ptr<WebRequest> CreateRequest() override;
};

/// Turns "text" into "<text>" and back.
class FakeSecrets : public Secrets {
public:
    std::string Encipher(std::string_view text) override;
    std::string Decipher(std::string_view stored) override;
};

} // namespace kr
