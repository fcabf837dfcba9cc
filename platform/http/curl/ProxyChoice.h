#pragma once

#include <curl/curl.h>

#include <memory>
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
/// The URL as an exchange reads it; nullptr for what is no absolute URL, or one that can't be asked
/// for. Who goes there and who chooses by its parts share one reading: a second reader might see
/// another host in "http://one\\@other/", and send it what was meant for the first.
std::shared_ptr<CURLU> ReadUrl(std::string_view url);
/// Without a URL, scheme "".
UrlParts PartsOf(const std::shared_ptr<CURLU>& url);
inline UrlParts PartsOf(std::string_view url) { return PartsOf(ReadUrl(url)); }

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
