#pragma once

#include <string>
#include <string_view>

namespace kr {

/// An absolute http or https URL in the parts that choices depend on.
struct UrlParts {
    std::string scheme; // lower case
    std::string host;   // lower case, without brackets
    std::string port;   // as given, else the scheme's own
    bool operator==(const UrlParts&) const = default;
};
/// Scheme "" for what is no absolute URL, or one that can't be asked for.
UrlParts PartsOf(std::string_view url);

/// The proxy for a URL out of a list of "[scheme=][scheme://]host[:port]" separated by ";" and
/// blanks: the first for the URL's scheme, else the first for any; "" for none. Always with a port,
/// and with a scheme of its own.
std::string ProxyFor(const UrlParts& url, std::string_view list);
/// True when an element of the bypass list names the host: "*" is any run of characters, "<local>"
/// a host without a dot.
bool Bypasses(const UrlParts& url, std::string_view bypass);

/// Percent-encodes controls, blanks and what is not ASCII; "%" and all else stay.
std::string EncodeUrl(std::string_view url);

} // namespace kr
