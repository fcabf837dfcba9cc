#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/PlatformError.h"

namespace kr {

/// Access types of SetProxy.
enum class ProxySetting { Preconfigured = 0, Direct = 1, Named = 2 };
/// When the person's own identity may be offered to a server that asks for it.
enum class AutoLogonPolicy { Always = 0, OnlyIfBypassProxy = 1, Never = 2 };

/// One HTTP request after the model of `WinHttpRequest`, with that object's members under their
/// names. Proxy, time-outs, credentials and logon policy outlive another Open; headers and response
/// don't. Only http and https are spoken, redirects stay within them, and certificates are
/// verified. Members throw PlatformError; a response that is too long counts as none.
class WebRequest {
public:
    virtual ~WebRequest() = default;
    /// `server` is a list "http=host:port https=host:port" or one host for both; `bypass` is
    /// joined by ";", "*" is any run, "<local>" a host without a dot.
    virtual void SetProxy(ProxySetting setting, std::string_view server = {},
                          std::string_view bypass = {}) = 0;
    /// Credentials for the proxy (`forProxy`) or the server.
    virtual void SetCredentials(std::string_view user, std::string_view password,
                                bool forProxy) = 0;
    /// Milliseconds for resolving, connecting, sending and receiving. Receiving counts from the
    /// first byte of the answer.
    virtual void SetTimeouts(int resolve, int connect, int send, int receive) = 0;
    virtual void SetAutoLogonPolicy(AutoLogonPolicy policy) = 0;
    /// `async` false: Send itself waits for the response.
    virtual void Open(std::string_view method, std::string_view url, bool async) = 0;
    /// Headers go out in the order of the calls. Throws for CR, LF or NUL in either.
    virtual void SetRequestHeader(std::string_view name, std::string_view value) = 0;
    virtual void Send(std::string_view body = {}) = 0;
    /// Lets events run until the response is whole or the seconds have passed; true for a response.
    virtual bool WaitForResponse(int seconds) = 0;
    /// The request has ended without a response (refused, not resolved, broken off): waiting on is
    /// of no use. The text says why.
    virtual std::optional<std::string> Failure() const = 0;
    virtual void Abort() = 0;

    virtual int Status() const = 0;
    virtual std::string StatusText() const = 0;
    /// The body as UTF-8, decoded by its mark or the charset of Content-Type.
    virtual std::string ResponseText() const = 0;
    /// The body's bytes.
    virtual const std::string& ResponseBody() const = 0;
    /// Nothing when the response has no such header.
    virtual std::optional<std::string> GetResponseHeader(std::string_view name) const = 0;
    /// All header lines without the status line, each ended by CR LF.
    virtual std::string GetAllResponseHeaders() const = 0;
};

/// Makes requests (`WinHttp.WinHttpRequest`).
class HttpProvider {
public:
    virtual ~HttpProvider() = default;
    /// Throws PlatformError when no request can be made.
    virtual std::unique_ptr<WebRequest> CreateRequest() = 0;
};

} // namespace kr
